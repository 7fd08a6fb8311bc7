#include "foundation/UserDefaults.h"

namespace halden {

UserDefaults& UserDefaults::standardUserDefaults() {
    static UserDefaults instance;
    return instance;
}

}  // namespace halden
