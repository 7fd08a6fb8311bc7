// Unicode normal forms, and the repair of text that was extracted from documents.
//
// The verbs edit in place; the others give the edited string. A string that has the form already is neither written nor
// copied, and finding that out is one scan. Lone surrogates are left alone. The time is bounded by the length, also for
// endless rows of combining marks. Where memory runs out the string stays as it was before the step that failed;
// nothing is thrown. Any thread may call them.
#pragma once

#include <cstdint>
#include <string>

namespace halden {

/// The normal forms by their documented numbers.
enum class NormalizationForm : std::uint8_t { d = 0, kd = 1, c = 2, kc = 3 };

void normalizeString(std::u16string& string, NormalizationForm form = NormalizationForm::c);
[[nodiscard]] std::u16string normalizedString(std::u16string string, NormalizationForm form = NormalizationForm::c);

/// Replaces with a space, unit by unit, what breaks later processing, then normalizes to Form C. Replaced are U+0000,
/// the surrogates (so that a character beyond the Basic Multilingual Plane becomes two spaces), and U+F400 to U+F8FF.
/// Other control characters and soft hyphens are left alone. A few compatibility ideographs (U+FA6C) have a normal form
/// beyond the Basic Multilingual Plane: those pairs stay, since replacing comes first.
void fixAndNormalizeString(std::u16string& string);
[[nodiscard]] std::u16string fixedAndNormalizedString(std::u16string string);

/// Form C, then lower case (root locale).
void normalizeLowercaseString(std::u16string& string);
[[nodiscard]] std::u16string normalizedLowercaseString(std::u16string string);

/// The same as normalizeLowercaseString: keys that were made by the one are looked up by the other, and the name is
/// only kept for its callers. It does not make upper case.
void normalizeUppercaseString(std::u16string& string);
[[nodiscard]] std::u16string normalizedUppercaseString(std::u16string string);

}  // namespace halden
