#include "client/RespondsToListener.h"

#include "foundation/Log.h"
#include "foundation/Unicode.h"

namespace quarry {

std::shared_ptr<RespondsToListener> RespondsToListener::sharedInstance() {
    static const auto instance = std::make_shared<RespondsToListener>();
    return instance;
}

bool RespondsToListener::respondsToSelector(std::u16string_view selector) {
    const bool responds = selector == u"respondsToSelector:";
    if (!responds) halden::logInfo(halden::utf8FromUtf16(selector));
    return responds;
}

}  // namespace quarry
