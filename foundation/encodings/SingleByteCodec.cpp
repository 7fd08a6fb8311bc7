#include "foundation/encodings/SingleByteCodec.h"

#include "foundation/encodings/Ascii.h"

#include <algorithm>

namespace halden {
namespace {

std::size_t lengthOf(const ByteSequence& sequence) noexcept {
    return sequence.units[2] == 0 ? 2 : 3;
}

}  // namespace

SingleByteCodec::SingleByteCodec(const std::array<char16_t, 256>& units, std::span<const ByteSequence> sequences)
    : units_(units), sequences_(sequences) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char16_t unit = units_[byte];
        if (byte < 128 && unit != byte) asciiBelow128_ = false;
        if (unit == kUndefinedUnit) {
            hasUndefined_ = true;
        } else if (unit != kSequenceUnit) {
            reverse_.push_back({unit, static_cast<std::uint8_t>(byte)});
        }
    }
    std::ranges::stable_sort(reverse_, {}, &Reverse::unit);
    const auto doubles = std::ranges::unique(reverse_, {}, &Reverse::unit);
    reverse_.erase(doubles.begin(), doubles.end());
}

DecodeStep SingleByteCodec::decode(std::string_view bytes, std::span<char16_t> out) const {
    if (!sequences_.empty()) return decodeWithSequences(bytes, out);
    const std::size_t size = std::min(bytes.size(), out.size());
    const char* from = bytes.data();
    char16_t* to = out.data();
    std::size_t done = 0;
    while (done < size) {
        // Whole blocks: ASCII ones are widened, the others looked up.
        if (size - done >= kAsciiBlock) {
            if (!asciiBelow128_ || widenAsciiBlock(from + done, to + done) < kAsciiBlock) {
                for (std::size_t i = done; i < done + kAsciiBlock; ++i)
                    to[i] = units_[static_cast<unsigned char>(from[i])];
            }
            done += kAsciiBlock;
        } else {
            to[done] = units_[static_cast<unsigned char>(from[done])];
            ++done;
        }
    }
    DecodeStep step;
    step.status = size < bytes.size() ? DecodeStatus::outputFull : DecodeStatus::complete;
    step.bytesRead = step.unitsWritten = size;
    if (hasUndefined_) step.undefined = countReplacementCharacters({to, size});
    return step;
}

DecodeStep SingleByteCodec::decodeWithSequences(std::string_view bytes, std::span<char16_t> out) const {
    DecodeStep step;
    for (; step.bytesRead < bytes.size(); ++step.bytesRead) {
        const auto byte = static_cast<std::uint8_t>(bytes[step.bytesRead]);
        const char16_t unit = units_[byte];
        const ByteSequence* sequence = unit == kSequenceUnit ? sequenceOf(byte) : nullptr;
        const std::size_t length = sequence == nullptr ? 1 : lengthOf(*sequence);
        if (out.size() - step.unitsWritten < length) {
            step.status = DecodeStatus::outputFull;
            break;
        }
        std::copy_n(sequence == nullptr ? &unit : sequence->units, length, out.data() + step.unitsWritten);
        step.unitsWritten += length;
        step.undefined += unit == kUndefinedUnit ? 1 : 0;
    }
    return step;
}

const ByteSequence* SingleByteCodec::sequenceOf(std::uint8_t byte) const noexcept {
    return &*std::ranges::lower_bound(sequences_, byte, {}, &ByteSequence::byte);
}

const ByteSequence* SingleByteCodec::sequenceAt(std::u16string_view text) const noexcept {
    for (const ByteSequence& sequence : sequences_) {
        if (text.starts_with(std::u16string_view(sequence.units, lengthOf(sequence)))) return &sequence;
    }
    return nullptr;
}

std::optional<std::string> SingleByteCodec::encode(std::u16string_view text) const {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (asciiBelow128_ && unit < 128) {
            bytes += static_cast<char>(unit);
            continue;
        }
        // The longest match: what begins like a sequence and goes on like one is the sequence.
        if (const ByteSequence* sequence = sequenceAt(text.substr(i))) {
            bytes += static_cast<char>(sequence->byte);
            i += lengthOf(*sequence) - 1;
            continue;
        }
        const auto found = std::ranges::lower_bound(reverse_, unit, {}, &Reverse::unit);
        if (found == reverse_.end() || found->unit != unit) return std::nullopt;
        bytes += static_cast<char>(found->byte);
    }
    return bytes;
}

}  // namespace halden
