// MIME types of markup.
#pragma once

#include <string_view>

namespace halden {

/// text/html, application/xhtml+xml, text/xml, application/xml and every type that ends with "+xml", in any case;
/// parameters (";charset=utf-8") do not count.
[[nodiscard]] bool isMarkupMIMEType(std::u16string_view type);

}  // namespace halden
