// Removal of parameters from a URL string in place. UrlSimplification.h says what each does; each takes time linear in
// the length of the string.
#pragma once

#include <string>
#include <string_view>

namespace halden {

void removeAnalytics(std::u16string& url);
void removeQueryParam(std::u16string& url, std::u16string_view parameter);
void removeEmptyParams(std::u16string& url);
void removeSessionIDs(std::u16string& url);

}  // namespace halden
