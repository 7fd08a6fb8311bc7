// Vends `stillBusy`, which is true for the first QUARRY_TEST_BUSY_CALLS calls, and counts them in what it answers to
// `supportsFile:`: whether the path spells their number.
#include "platform/ipc/Connection.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/ipc/RunLoop.h"

#include <cstdlib>

namespace {

int calls = 0;

class Implementation final : public halden::HaldenImExport {
public:
    std::optional<halden::Data> PDFImageRepOfFile(std::u16string_view) override { return {}; }
    std::optional<halden::Dictionary> imageWithContentsOfFile(std::u16string_view,
                                                              halden::ImageWithContentsOfFileOptions) override {
        return {};
    }
    std::optional<halden::Dictionary> attributedStringWithPDF(const halden::Data&,
                                                              halden::AttributedStringWithPDFOptions) override {
        return {};
    }
    std::optional<halden::Dictionary> posterImageForMovieWithFile(std::u16string_view) override { return {}; }
    std::optional<halden::Dictionary> attributedStringWithContentsOfFile(std::u16string_view) override { return {}; }
    std::optional<halden::Dictionary> searchableTextOfWebArchive(std::u16string_view) override { return {}; }
    bool writeRTFDDataToFile(const halden::Data&, std::u16string_view) override { return false; }
    std::optional<halden::Data> RTFDWithHTML(const halden::Data&, const std::optional<std::u16string>&,
                                             const std::optional<std::u16string>&,
                                             halden::RTFDWithHTMLOptions) override {
        return {};
    }
    std::optional<halden::Dictionary> metaDataForFile(std::u16string_view) override { return {}; }
    bool supportsFile(std::u16string_view path) override {
        const std::string number = std::to_string(calls);
        return path == std::u16string(number.begin(), number.end());
    }
};

}  // namespace

int main() {
    const char* limit = std::getenv("QUARRY_TEST_BUSY_CALLS");
    const int busyCalls = limit != nullptr ? std::atoi(limit) : 0;
    auto root = std::make_shared<halden::HaldenImExportRootObject>(std::make_shared<Implementation>());
    root->setStillBusy([busyCalls] { return calls++ < busyCalls; });
    halden::Connection connection;
    connection.setRootObject(root);
    connection.registerName(u"BusyHelper");
    for (;;)
        halden::RunLoop::currentRunLoop().run();
}
