// The platform's keys of document attributes, with the kinds of their values.
//
// Numbers that are documented as floats are doubles rounded to single precision. A dictionary may come from elsewhere:
// reading a value that is missing, or of another kind than documented, gives nothing.
#pragma once

#include "foundation/Geometry.h"
#include "foundation/Value.h"
#include "richtext/AttributedString.h"

#include <optional>
#include <string_view>

namespace halden {

inline constexpr std::u16string_view kDocumentTypeKey = u"DocumentType";            // string, one of the types below
inline constexpr std::u16string_view kUtiKey = u"UTI";                              // string
inline constexpr std::u16string_view kCharacterEncodingKey = u"CharacterEncoding";  // integer, an NSStringEncoding
inline constexpr std::u16string_view kTextEncodingNameKey = u"TextEncodingName";    // string
inline constexpr std::u16string_view kPaperSizeKey = u"PaperSize";                  // size string, points
inline constexpr std::u16string_view kLeftMarginKey = u"LeftMargin";  // double, points, as the other margins
inline constexpr std::u16string_view kRightMarginKey = u"RightMargin";
inline constexpr std::u16string_view kTopMarginKey = u"TopMargin";
inline constexpr std::u16string_view kBottomMarginKey = u"BottomMargin";
inline constexpr std::u16string_view kViewSizeKey = u"ViewSize";                      // size string, points
inline constexpr std::u16string_view kViewZoomKey = u"ViewZoom";                      // double, percent
inline constexpr std::u16string_view kViewModeKey = u"ViewMode";                      // integer
inline constexpr std::u16string_view kReadOnlyKey = u"ReadOnly";                      // integer
inline constexpr std::u16string_view kConvertedKey = u"Converted";                    // integer
inline constexpr std::u16string_view kHyphenationFactorKey = u"HyphenationFactor";    // double, 0 to 1
inline constexpr std::u16string_view kDefaultTabIntervalKey = u"DefaultTabInterval";  // double, points
inline constexpr std::u16string_view kTextScalingKey = u"TextScaling";                // integer
inline constexpr std::u16string_view kSourceTextScalingKey = u"SourceTextScaling";    // integer
inline constexpr std::u16string_view kUsesScreenFontsKey = u"UsesScreenFonts";        // integer
inline constexpr std::u16string_view kCocoaVersionKey = u"CocoaRTFVersion";           // double
inline constexpr std::u16string_view kBackgroundColorKey = u"BackgroundColor";        // array of four doubles
inline constexpr std::u16string_view kDefaultAttributesKey = u"DefaultAttributes";    // dictionary
inline constexpr std::u16string_view kTitleKey = u"NSTitleDocumentAttribute";         // string, as the following
inline constexpr std::u16string_view kAuthorKey = u"NSAuthorDocumentAttribute";
inline constexpr std::u16string_view kSubjectKey = u"NSSubjectDocumentAttribute";
inline constexpr std::u16string_view kCompanyKey = u"NSCompanyDocumentAttribute";
inline constexpr std::u16string_view kCopyrightKey = u"NSCopyrightDocumentAttribute";
inline constexpr std::u16string_view kCommentKey = u"NSCommentDocumentAttribute";
inline constexpr std::u16string_view kEditorKey = u"NSEditorDocumentAttribute";
inline constexpr std::u16string_view kManagerKey = u"NSManagerDocumentAttribute";
inline constexpr std::u16string_view kCategoryKey = u"NSCategoryDocumentAttribute";
inline constexpr std::u16string_view kKeywordsKey = u"NSKeywordsDocumentAttribute";                  // array of strings
inline constexpr std::u16string_view kCreationTimeKey = u"NSCreationTimeDocumentAttribute";          // date
inline constexpr std::u16string_view kModificationTimeKey = u"NSModificationTimeDocumentAttribute";  // date

inline constexpr std::u16string_view kPlainTextDocumentType = u"NSPlainText";
inline constexpr std::u16string_view kRtfDocumentType = u"NSRTF";
inline constexpr std::u16string_view kRtfdDocumentType = u"NSRTFD";
inline constexpr std::u16string_view kHtmlDocumentType = u"NSHTML";
inline constexpr std::u16string_view kDocDocumentType = u"NSDocFormat";
inline constexpr std::u16string_view kWordMLDocumentType = u"NSWordML";
inline constexpr std::u16string_view kWebArchiveDocumentType = u"NSWebArchive";
inline constexpr std::u16string_view kOfficeOpenXmlDocumentType = u"NSOfficeOpenXML";
inline constexpr std::u16string_view kOpenDocumentDocumentType = u"NSOpenDocument";

/// The type of rich text with attachments, in place of what the attributes said.
void setRtfdType(Dictionary& attributes);

/// An integer, a double or a truth value (0 or 1); never NaN or infinite.
[[nodiscard]] std::optional<double> numberAttribute(const Dictionary& attributes, std::u16string_view key) noexcept;
/// A view of the string in `attributes`; empty without one.
[[nodiscard]] std::u16string_view stringAttribute(const Dictionary& attributes, std::u16string_view key) noexcept;
[[nodiscard]] std::optional<Size> sizeAttribute(const Dictionary& attributes, std::u16string_view key);

/// The inverse of `NSStringFromSize`: two finite decimal numbers in braces, a comma between them, blanks wherever.
[[nodiscard]] std::optional<Size> sizeFromString(std::u16string_view text);

/// An array of four doubles: red, green and blue in sRGB, and alpha.
[[nodiscard]] Value valueFromColor(const Color& color);
/// nullopt unless `value` is such an array. Components are cut to 0 to 1.
[[nodiscard]] std::optional<Color> colorFromValue(const Value& value);

/// A dictionary with the PostScript name under "NSFontNameAttribute" and the size under "NSFontSizeAttribute".
[[nodiscard]] Value valueFromFont(const Font& font);
/// nullopt unless `value` is such a dictionary with a name and a size above 0. Family and style follow from the name.
[[nodiscard]] std::optional<Font> fontFromValue(const Value& value);

}  // namespace halden
