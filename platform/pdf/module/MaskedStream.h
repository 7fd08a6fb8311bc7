// A document as it would be if it were not encrypted.
#pragma once

#include "foundation/Data.h"

#include <mupdf/fitz.h>

namespace halden::pdf {

/// Whether `data` speaks of an encryption at all.
[[nodiscard]] bool mentionsEncryption(const Data& data) noexcept;

/// A stream of the bytes of `data`, which must outlive it, in which every name /Encrypt reads as another one. The
/// engine refuses documents whose encryption it does not know; so masked, their page tree can be read, though no string
/// and no stream. Throws as the engine does.
[[nodiscard]] fz_stream* newMaskedStream(fz_context* engine, const Data& data);

}  // namespace halden::pdf
