#include "importers/system/Image/SvgText.h"

#include "importers/system/support/XmlEvents.h"

#include <utility>

namespace quarry::image {
namespace {

constexpr std::size_t kMaxText = std::size_t{16} << 20;

/// Takes the characters of the elements with words; elements inside them, such as spans, belong to them.
class Collector {
public:
    support::XmlHandlers handlers() {
        return {.start = [this](const support::XmlElement& element) { return start(element.localName()); },
                .end = [this](std::string_view) { return end(); },
                .text = [this](std::string_view text) { return take(text); }};
    }
    SvgText result;

private:
    bool start(std::string_view name) {
        ++depth_;
        if (target_ != nullptr) return true;
        const bool isWhole = depth_ == 2;  // in the outermost element
        if (name == "text") target_ = &result.text;
        if (name == "title" && isWhole) target_ = &result.title;
        if (name == "desc" && isWhole) target_ = &result.description;
        if (target_ != nullptr) targetDepth_ = depth_;
        return true;
    }
    bool end() {
        if (target_ != nullptr && depth_ == targetDepth_) {
            if (!target_->empty()) target_->push_back('\n');
            target_ = nullptr;
        }
        --depth_;
        return true;
    }
    bool take(std::string_view text) {
        if (target_ != nullptr) target_->append(text);
        return result.text.size() + result.title.size() + result.description.size() < kMaxText;
    }

    int depth_ = 0;
    int targetDepth_ = 0;
    std::string* target_ = nullptr;
};

}  // namespace

SvgText textOfSvg(std::string_view xml) {
    Collector collector;
    (void)support::readXml(xml, collector.handlers());
    return std::move(collector.result);
}

}  // namespace quarry::image
