#include "markup/PlainTextWriter.h"

#include "foundation/Characters.h"
#include "foundation/StringSearch.h"
#include "foundation/WideUnits.h"
#include "markup/Entities.h"

#include <algorithm>
#include <bit>

namespace halden {
namespace {

/// Longer runs are no text for a reader.
constexpr std::size_t kLongestRun = 10000;
constexpr std::size_t kLongestHeadingOrAnchor = 3500;
constexpr std::ptrdiff_t kLongestUnbrokenText = 20000;

/// References, and what diacritics are dropped from, are looked for in runs of this length.
constexpr std::size_t kShortestDecodedRun = 4;

bool isWhite(char16_t unit) {
    static const CharacterBitmap& white = whiteCharacterSetRep();
    return white.contains(unit);
}

bool isBlank(char16_t unit) {
    static const CharacterBitmap& blank = spaceCharacterSetRep();
    return blank.contains(unit);
}

/// Where units are certainly not white: printable ASCII, and the two long stretches of the plane without white space.
WideUnits certainlyNotWhite(WideUnits units) {
    return within(units, u'!', u'~') | within(units, u'\u00A1', u'\u167F') | within(units, u'\u3001', u'\uFEFE');
}

constexpr std::uint32_t kAllUnits = WideUnits::kCount == 32 ? 0xFFFFFFFF : (1U << WideUnits::kCount) - 1;

bool isAllAsciiWhite(const char16_t* block) {
    const WideUnits units = WideUnits::load(block);
    return ((units == WideUnits::broadcast(u' ')) | within(units, u'\t', u'\r')).bits() == kAllUnits;
}

/// Copies `run` with every stretch of white space as one space; returns the end of what was written.
char16_t* copyCollapsed(std::u16string_view run, char16_t* out) {
    const char16_t* in = run.data();
    const char16_t* const end = in + run.size();
    bool afterWhite = false;
    const auto copyUnit = [&](char16_t unit) {
        if (!isWhite(unit)) {
            *out++ = unit;
            afterWhite = false;
        } else if (!afterWhite) {
            *out++ = u' ';
            afterWhite = true;
        }
    };
    while (static_cast<std::size_t>(end - in) >= WideUnits::kCount) {
        const WideUnits units = WideUnits::load(in);
        const std::uint32_t spaces = (units == WideUnits::broadcast(u' ')).bits();
        const std::uint32_t plain = certainlyNotWhite(units).bits();
        const bool isCollapsed = ((spaces << 1 | (afterWhite ? 1U : 0U)) & spaces) == 0;
        if ((spaces | plain) == kAllUnits && isCollapsed) {
            units.store(out);
            out += WideUnits::kCount;
            in += WideUnits::kCount;
            afterWhite = spaces >> (WideUnits::kCount - 1) != 0;
        } else {
            for (std::size_t i = 0; i < WideUnits::kCount; ++i)
                copyUnit(*in++);
        }
    }
    while (in != end)
        copyUnit(*in++);
    return out;
}

/// Writes preformatted text as paragraphs: lines are joined, but for those that begin like an item of a list or code.
void writeReformatted(PlainTextState& state, std::u16string_view run) {
    for (std::size_t i = 0; i < run.size();) {
        if (isLineBreak(run[i])) {
            int breaks = 0;
            for (; i < run.size() && isLineBreak(run[i]); ++i) {
                const bool isSecondOfPair = run[i] == u'\n' && i > 0 && run[i - 1] == u'\r';
                if ((run[i] == u'\n' || run[i] == u'\r') && !isSecondOfPair) ++breaks;
            }
            if (breaks >= 2) {
                writeParagraphBreak(state);
            } else if (breaks == 1 && i < run.size() &&
                       std::u16string_view(u" -/>}").find(run[i]) != std::u16string_view::npos) {
                writeLineBreak(state);
            } else if (breaks == 1) {
                writeSpaceUnlessWhite(state);
            }
        } else if (isBlank(run[i])) {
            while (i < run.size() && isBlank(run[i]))
                ++i;
            *state.write++ = u' ';
        } else {
            *state.write++ = run[i++];
        }
    }
}

bool isTooLong(const PlainTextState& state, std::size_t length) {
    return (length > kLongestRun && state.collapsesWhiteSpace) ||
           (length > kLongestHeadingOrAnchor && state.headingAndAnchorDepth > 0);
}

}  // namespace

bool isLineBreak(char16_t unit) {
    switch (unit) {
        case u'\n':
        case u'\r':
        case u'\f':
        case u'\u0003':
        case u'\u2028':
        case u'\u2029':
        case u'\uFEFF':
        case u'\uFFFC':
            return true;
        default:
            return false;
    }
}

bool lastWrittenIsWhite(const PlainTextState& state) {
    return state.write == state.output || isWhite(state.write[-1]);
}

bool lastWrittenIsLineBreak(const PlainTextState& state) {
    return state.write == state.output || isLineBreak(state.write[-1]);
}

void writeLineBreak(PlainTextState& state) {
    *state.write++ = u'\n';
    state.lineHasText = false;
    state.spacePending = false;
    state.breakMark = state.write;
}

void writeParagraphBreak(PlainTextState& state) {
    *state.write++ = u'\n';
    writeLineBreak(state);
}

bool writeSpaceUnlessWhite(PlainTextState& state) {
    if (lastWrittenIsWhite(state)) return false;
    *state.write++ = u' ';
    return true;
}

std::u16string_view decodedRun(PlainTextState& state, std::u16string_view run) {
    const PlainTextOptions& options = state.options;
    if (run.size() < kShortestDecodedRun || (!options.entities && !options.stdEntities)) return run;
    const bool folds = options.entities && options.nonUmlauted;
    if (!folds && !findCharacter(run, u'&')) return run;
    if (state.scratch.size() < run.size()) state.scratch.resize(run.size());
    char16_t* decoded = state.scratch.data();
    const std::size_t length =
        options.entities
            ? convertEntities2Characters(run.data(), decoded, 0, run.size(),
                                         {.decodesSpecials = options.stdEntities, .nonUmlauted = options.nonUmlauted})
            : convertStdEntities2Characters(run.data(), decoded, 0, run.size());
    return {decoded, length};
}

std::u16string_view trimmedRun(std::u16string_view run) {
    static const CharacterBitmap& white = whiteCharacterSetRep();
    const char16_t* begin = run.data();
    const char16_t* end = begin + run.size();
    const auto count = [&] { return static_cast<std::size_t>(end - begin); };
    // Indentation is long, and all of a kind.
    while (count() >= WideUnits::kCount && isAllAsciiWhite(begin))
        begin += WideUnits::kCount;
    while (count() > 0 && white.contains(*begin))
        ++begin;
    while (count() >= WideUnits::kCount && isAllAsciiWhite(end - WideUnits::kCount))
        end -= WideUnits::kCount;
    while (count() > 0 && white.contains(end[-1]))
        --end;
    return {begin, count()};
}

void appendRangeToPlainText(PlainTextState& state, std::u16string_view run) {
    if (state.options.removeJunk && isTooLong(state, run.size())) {
        state.junkFound = true;
        return;
    }
    run = decodedRun(state, run);
    const bool isPreformatted = !state.collapsesWhiteSpace;
    const std::u16string_view trimmed = isPreformatted ? run : trimmedRun(run);
    if (trimmed.empty()) {
        state.spacePending = !isPreformatted;
        return;
    }
    bool beginsWhite = false;
    bool endsWhite = false;
    if (!isPreformatted) {
        beginsWhite = trimmed.data() != run.data();
        endsWhite = trimmed.data() + trimmed.size() != run.data() + run.size();
        run = trimmed;
    }
    if (beginsWhite || state.spacePending) {
        if (state.lineHasText) {
            *state.write++ = u' ';
        } else if (isPreformatted) {
            writeSpaceUnlessWhite(state);
        }
    }
    if (isPreformatted && state.options.reformat) {
        writeReformatted(state, run);
    } else {
        state.write = copyCollapsed(run, state.write);
    }
    state.spacePending = endsWhite;
    state.lineHasText = true;
    if (state.options.removeJunk && state.write - state.breakMark > kLongestUnbrokenText) {
        state.junkFound = true;
        state.write = state.breakMark;
    }
}

}  // namespace halden
