#include "client/RespondsToListener.h"

#include "foundation/Log.h"
#include "foundation/Unicode.h"

namespace quarry {

std::shared_ptr<RespondsToListener> RespondsToListener::sharedInstance() {
    static std::weak_ptr<RespondsToListener> shared;
    auto instance = shared.lock();
    if (!instance) {
        instance = std::make_shared<RespondsToListener>();
        shared = instance;
    }
    return instance;
}

bool RespondsToListener::respondsToSelector(std::u16string_view selector) {
    const bool responds = selector == u"respondsToSelector:";
    if (!responds) halden::logInfo(halden::utf8FromUtf16(selector));
    return responds;
}

}  // namespace quarry
