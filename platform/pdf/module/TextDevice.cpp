#include "platform/pdf/module/TextDevice.h"

#include "platform/pdf/module/Context.h"

#include <mupdf/ucdn.h>

#include <cfloat>
#include <cmath>
#include <new>

namespace halden::pdf {
namespace {

// In parts of the size of the text.
constexpr float kLeastGap = 0.15F;  // a space
constexpr float kLargestGap = 0.8F;
constexpr float kLargestShift = 0.8F;  // off the base line
// Cosine of the angle between two directions that count as one.
constexpr float kLeastCosine = 0.999F;

enum class WritingMode { horizontal, vertical };

/// White space of whatever width is a space.
int withPlainSpace(int character) {
    switch (character) {
        case 0x0009:
        case 0x00A0:
        case 0x1680:
        case 0x180E:
        case 0x202F:
        case 0x205F:
        case 0x3000:
            return ' ';
        default:
            return character >= 0x2000 && character <= 0x200A ? ' ' : character;
    }
}

/// What the glyphs of a span have in common.
struct Span {
    fz_matrix glyphToPage;  // but for where a glyph stands
    fz_point direction;     // of length 1
    fz_point advance;       // by a whole em
    float size;
    WritingMode mode;
};

struct Glyph {
    fz_point start, end;
};

/// Tells from the places of glyphs where lines begin and words are parted.
class LineBreaker {
public:
    explicit LineBreaker(LineText& text) : text_(text) {}

    /// A character without a glyph of its own, after the first one of a ligature. False before there is a line.
    bool addToGlyph(int character) {
        if (!hasLine_) return false;
        follow(character);
        text_.add(character);
        last_ = character;
        return true;
    }

    void add(int character, const Span& span, const Glyph& glyph) {
        follow(character);
        switch (placeOf(character, span, glyph)) {
            case Place::again:
                return;
            case Place::newLine:
                text_.beginLine();
                hasLine_ = true;
                direction_ = span.direction;
                mode_ = span.mode;
                break;
            case Place::afterSpace:
                text_.add(' ');
                break;
            case Place::inLine:
                break;
        }
        text_.add(character);
        last_ = character;
        pen_ = glyph.end;
    }

private:
    enum class Place { newLine, inLine, afterSpace, again };

    [[nodiscard]] Place placeOf(int character, const Span& span, const Glyph& glyph) const {
        const float cosine = span.direction.x * direction_.x + span.direction.y * direction_.y;
        if (!hasLine_ || mode_ != span.mode || cosine < kLeastCosine) return Place::newLine;
        // Printed twice at one place, a character looks bold.
        const bool isAtPen =
            std::fabs(glyph.end.x - pen_.x) < FLT_EPSILON && std::fabs(glyph.end.y - pen_.y) < FLT_EPSILON;
        if (isAtPen && character == last_) return Place::again;
        const float x = glyph.start.x - pen_.x;
        const float y = glyph.start.y - pen_.y;
        const float shift = -span.direction.y * x + span.direction.x * y;
        if (!(std::fabs(shift) < span.size * kLargestShift)) return Place::newLine;
        // What runs to the left comes in either order, so that gaps say nothing.
        if (isLeftward_) return Place::inLine;
        return placeAfterGap(span.direction.x * x + span.direction.y * y, span);
    }

    [[nodiscard]] Place placeAfterGap(float gap, const Span& span) const {
        if (std::fabs(gap) < span.size * kLeastGap) return Place::inLine;
        if (std::fabs(gap) > span.size * kLargestGap) return Place::newLine;
        const bool isWide = !(gap < 0) && span.mode == WritingMode::horizontal;
        return isWide && last_ != ' ' ? Place::afterSpace : Place::inLine;
    }

    /// Letters say where the text runs, other characters run with them.
    void follow(int character) {
        if (character >= 0 && character < 0x80) {
            const int letter = character | 0x20;
            if (letter >= 'a' && letter <= 'z') isLeftward_ = false;
            return;
        }
        switch (ucdn_get_bidi_class(static_cast<std::uint32_t>(character))) {
            case UCDN_BIDI_CLASS_R:
            case UCDN_BIDI_CLASS_AL:
                isLeftward_ = true;
                break;
            case UCDN_BIDI_CLASS_EN:
            case UCDN_BIDI_CLASS_ES:
            case UCDN_BIDI_CLASS_ET:
            case UCDN_BIDI_CLASS_AN:
            case UCDN_BIDI_CLASS_CS:
            case UCDN_BIDI_CLASS_NSM:
            case UCDN_BIDI_CLASS_BN:
            case UCDN_BIDI_CLASS_B:
            case UCDN_BIDI_CLASS_S:
            case UCDN_BIDI_CLASS_WS:
            case UCDN_BIDI_CLASS_ON:
                break;
            default:
                isLeftward_ = false;
        }
    }

    LineText& text_;
    bool hasLine_ = false;
    bool isLeftward_ = false;
    WritingMode mode_ = WritingMode::horizontal;
    fz_point direction_{};
    fz_point pen_{};
    int last_ = ' ';
};

Span spanOf(const fz_text_span& span, fz_matrix pageMatrix) {
    const fz_matrix matrix = fz_concat(span.trm, pageMatrix);
    const WritingMode mode = span.wmode == 0 ? WritingMode::horizontal : WritingMode::vertical;
    const fz_point em = mode == WritingMode::horizontal ? fz_point{1, 0} : fz_point{0, -1};
    const fz_point advance = fz_transform_vector(em, matrix);
    return {pageMatrix, fz_normalize_vector(advance), advance, fz_matrix_expansion(matrix), mode};
}

Glyph glyphAt(const fz_text_item& item, const Span& span, float width) {
    const fz_point origin = fz_transform_point_xy(item.x, item.y, span.glyphToPage);
    if (span.mode == WritingMode::horizontal)
        return {origin, {origin.x + width * span.advance.x, origin.y + width * span.advance.y}};
    return {{origin.x - width * span.advance.x, origin.y - width * span.advance.y}, origin};
}

struct TextDevice {
    fz_device super;
    LineText* text;
    LineBreaker breaker;
    const fz_text* last;  // filled and stroked, it is there once

    static TextDevice& of(fz_device* device) { return *reinterpret_cast<TextDevice*>(device); }
};

void addSpan(fz_context* engine, TextDevice& device, const fz_text_span& textSpan, fz_matrix pageMatrix) {
    const Span span = spanOf(textSpan, pageMatrix);
    for (int i = 0; i < textSpan.len; ++i) {
        const fz_text_item& item = textSpan.items[i];
        if (item.ucs == -1) continue;  // another glyph of the character before
        const int character = withPlainSpace(item.ucs);
        if (item.gid < 0 && device.breaker.addToGlyph(character)) continue;
        const float width = item.gid < 0 ? 0 : fz_advance_glyph(engine, textSpan.font, item.gid, textSpan.wmode);
        device.breaker.add(character, span, glyphAt(item, span, width));
    }
}

void addText(fz_context* engine, fz_device* anyDevice, const fz_text* text, fz_matrix pageMatrix) {
    TextDevice& device = TextDevice::of(anyDevice);
    if (text == device.last) return;
    Context& context = Context::of(engine);
    if (context.isOutOfTimeNowAndThen()) return;
    if (device.text->isFull()) context.cookie()->abort = 1;
    bool hadMemory = true;
    // No C++ exception may cross the engine's frames.
    try {
        for (const fz_text_span* span = text->head; span != nullptr; span = span->next)
            addSpan(engine, device, *span, pageMatrix);
    } catch (const std::bad_alloc&) {
        hadMemory = false;
    }
    if (!hadMemory) fz_throw(engine, FZ_ERROR_MEMORY, "no memory for the text of a page");
    fz_drop_text(engine, device.last);
    device.last = fz_keep_text(engine, text);
}

}  // namespace

fz_device* newTextDevice(fz_context* engine, LineText& text) {
    fz_device* const device = fz_new_device_of_size(engine, sizeof(TextDevice));
    TextDevice& own = TextDevice::of(device);
    own.text = &text;
    new (&own.breaker) LineBreaker(text);
    own.last = nullptr;
    device->fill_text = [](fz_context* context, fz_device* self, const fz_text* shown, fz_matrix matrix, fz_colorspace*,
                           const float*, float, fz_color_params) { addText(context, self, shown, matrix); };
    device->stroke_text = [](fz_context* context, fz_device* self, const fz_text* shown, const fz_stroke_state*,
                             fz_matrix matrix, fz_colorspace*, const float*, float,
                             fz_color_params) { addText(context, self, shown, matrix); };
    device->clip_text = [](fz_context* context, fz_device* self, const fz_text* shown, fz_matrix matrix, fz_rect) {
        addText(context, self, shown, matrix);
    };
    device->clip_stroke_text = [](fz_context* context, fz_device* self, const fz_text* shown, const fz_stroke_state*,
                                  fz_matrix matrix, fz_rect) { addText(context, self, shown, matrix); };
    device->ignore_text = [](fz_context* context, fz_device* self, const fz_text* shown, fz_matrix matrix) {
        addText(context, self, shown, matrix);
    };
    device->drop_device = [](fz_context* context, fz_device* self) {
        fz_drop_text(context, TextDevice::of(self).last);
    };
    return device;
}

}  // namespace halden::pdf
