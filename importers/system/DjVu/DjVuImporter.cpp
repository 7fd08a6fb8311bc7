// The importer of DjVu documents: the number of pages, and the hidden text. Annotations, which may
// hold a title, are left alone: the library reads them by recursion without a bound.
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"

#include <libdjvu/ddjvuapi.h>
#include <libdjvu/miniexp.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace {

using quarry::support::Attributes;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxFile = std::size_t{512} << 20;
constexpr std::size_t kMaxText = std::size_t{64} << 20;
constexpr std::chrono::seconds kMaxTime{30};

struct Release {
    void operator()(ddjvu_context_t* context) const noexcept { ddjvu_context_release(context); }
    void operator()(ddjvu_document_t* document) const noexcept { ddjvu_document_release(document); }
};

class Document {
public:
    Document(const std::string& bytes, Clock::time_point end)
        : bytes_(bytes),
          end_(end),
          context_(ddjvu_context_create("quarry")),
          document_(context_ ? ddjvu_document_create(context_.get(), nullptr, FALSE) : nullptr) {}

    /// False when it is none.
    bool open() {
        while (document_ && !isDone() && handleMessages()) {
        }
        return document_ && ddjvu_document_decoding_status(document_.get()) == DDJVU_JOB_OK;
    }
    [[nodiscard]] int pageCount() const { return ddjvu_document_get_pagenum(document_.get()); }

    std::string text() {
        std::string text;
        for (int page = 0; page < pageCount() && text.size() < kMaxText && Clock::now() < end_; ++page) {
            const miniexp_t found =
                resultOf([&] { return ddjvu_document_get_pagetext(document_.get(), page, "page"); });
            appendStrings(text, found, 0);
            ddjvu_miniexp_release(document_.get(), found);
        }
        return text;
    }

private:
    [[nodiscard]] bool isDone() const { return ddjvu_document_decoding_done(document_.get()) != 0; }

    /// Hands over the file's bytes when they are asked for. A document that lies in many files asks for the others,
    /// too: it does not get them.
    bool handleMessages() {
        if (Clock::now() > end_) return false;
        while (const ddjvu_message_t* message = ddjvu_message_peek(context_.get())) {
            if (message->m_any.tag == DDJVU_NEWSTREAM) {
                const int stream = message->m_newstream.streamid;
                const bool isOurs = stream == 0;
                if (isOurs) ddjvu_stream_write(document_.get(), stream, bytes_.data(), bytes_.size());
                ddjvu_stream_close(document_.get(), stream, isOurs ? FALSE : TRUE);
            }
            ddjvu_message_pop(context_.get());
        }
        if (isDone()) return true;
        // Somebody else's thread works: a message comes when it is done, or has a question.
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        return true;
    }

    template <typename Function>
    miniexp_t resultOf(Function function) {
        miniexp_t result = function();
        while (result == miniexp_dummy && handleMessages())
            result = function();
        return result;
    }

    /// A page is (page x y x y "text"); in older documents lists of lines and words stand for the text.
    static void appendStrings(std::string& text, miniexp_t expression, int depth) {
        constexpr int kMaxDepth = 16;
        if (miniexp_stringp(expression) != 0) {
            if (const char* string = miniexp_to_str(expression)) text.append(string).push_back('\n');
            return;
        }
        for (; miniexp_consp(expression) != 0 && depth < kMaxDepth; expression = miniexp_cdr(expression))
            appendStrings(text, miniexp_car(expression), depth + 1);
    }

    const std::string& bytes_;
    Clock::time_point end_;
    std::unique_ptr<ddjvu_context_t, Release> context_;
    std::unique_ptr<ddjvu_document_t, Release> document_;
};

bool importDocument(Attributes& attributes, std::string_view, const char* path) {
    // The library's lists are collected by one collector for everybody.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const auto bytes = quarry::support::bytesOfFile(path, kMaxFile);
    if (!bytes || !bytes->starts_with("AT&TFORM")) return false;
    Document document(*bytes, Clock::now() + kMaxTime);
    if (!document.open()) return false;
    attributes.setInteger("kMDItemNumberOfPages", document.pageCount());
    attributes.setText("kMDItemTextContent", document.text());
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeDjVuImporter, importDocument)
