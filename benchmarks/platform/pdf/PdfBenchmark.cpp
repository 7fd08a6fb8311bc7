// Opening PDF documents and reading their text.
//
//     bench_pdf [PDF...] [Google Benchmark's options]
//
// Measures a document generated here, the example report, and the documents given. Only the document's own work counts:
// the module is loaded before.
#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/PdfEngine.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

using halden::Data;
using halden::PdfDocument;

constexpr int kGeneratedPages = 200;
constexpr int kLinesOfAPage = 45;

std::string contentsOfPage(int page) {
    std::string contents = "BT /F 11 Tf 14 TL 72 760 Td\n";
    for (int line = 0; line < kLinesOfAPage; ++line) {
        contents += "(Page " + std::to_string(page) + ", line " + std::to_string(line) +
                    ": the quick brown fox jumps over the lazy dog, again and again.) Tj T*\n";
    }
    return contents + "ET";
}

/// A document of plain text pages. It has no cross-reference table where `isDamaged`, so that it must be repaired.
Data generatedDocument(bool isDamaged) {
    std::string bytes = "%PDF-1.7\n";
    std::string table = "0000000000 65535 f \n";
    int count = 0;
    const auto add = [&](const std::string& body) {
        char row[32];
        std::snprintf(row, sizeof row, "%010zu 00000 n \n", bytes.size());
        table += row;
        bytes += std::to_string(++count) + " 0 obj\n" + body + "\nendobj\n";
    };
    std::string kids;
    for (int page = 0; page < kGeneratedPages; ++page)
        kids += std::to_string(4 + 2 * page) + " 0 R ";
    add("<< /Type /Catalog /Pages 2 0 R >>");
    add("<< /Type /Pages /Count " + std::to_string(kGeneratedPages) + " /Kids [" + kids +
        "] /MediaBox [0 0 595 842] /Resources << /Font << /F 3 0 R >> >> >>");
    add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
    for (int page = 0; page < kGeneratedPages; ++page) {
        const std::string contents = contentsOfPage(page);
        add("<< /Type /Page /Parent 2 0 R /Contents " + std::to_string(count + 2) + " 0 R >>");
        add("<< /Length " + std::to_string(contents.size()) + " >>\nstream\n" + contents + "\nendstream");
    }
    if (isDamaged) return Data::copying(bytes);
    const std::string size = std::to_string(count + 1);
    const std::string start = std::to_string(bytes.size());
    return Data::copying(bytes + "xref\n0 " + size + "\n" + table + "trailer\n<< /Size " + size +
                         " /Root 1 0 R >>\nstartxref\n" + start + "\n%%EOF\n");
}

void openDocument(benchmark::State& state, const Data& data) {
    for (auto _ : state) {
        const auto document = PdfDocument::documentWithData(data);
        if (!document) return state.SkipWithError("no document");
        auto attributes = document->documentAttributes();
        benchmark::DoNotOptimize(attributes);
    }
}

void readText(benchmark::State& state, const Data& data) {
    std::size_t units = 0;
    std::int64_t pages = 0;
    for (auto _ : state) {
        const auto document = PdfDocument::documentWithData(data);
        if (!document) return state.SkipWithError("no document");
        for (int page = 0; page < document->pageCount(); ++page, ++pages)
            units += document->textOfPage(page).value_or(u"").size();
    }
    state.SetItemsProcessed(pages);
    state.counters["units/page"] = pages > 0 ? static_cast<double>(units) / static_cast<double>(pages) : 0;
}

void add(const std::string& name, const Data& data) {
    benchmark::RegisterBenchmark(("open/" + name).c_str(), [data](auto& state) {
        openDocument(state, data);
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(("text/" + name).c_str(), [data](auto& state) {
        readText(state, data);
    })->Unit(benchmark::kMillisecond);
}

bool addFile(const std::string& path) {
    const auto data = Data::contentsOfFile(path);
    if (!data) {
        std::fprintf(stderr, "%s cannot be read\n", path.c_str());
        return false;
    }
    add(path.substr(path.rfind('/') + 1), *data);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const halden::PdfEngineStatus& status = halden::pdfEngineStatus();
    if (status.engine == nullptr) {
        std::fprintf(stderr, "%s\n", status.reason.c_str());
        return 1;
    }
    add("generated", generatedDocument(false));
    add("generated, damaged", generatedDocument(true));
    bool isReadable = addFile(QUARRY_EXAMPLE_PDF);
    for (int i = 1; i < argc; ++i)
        isReadable = addFile(argv[i]) && isReadable;
    if (!isReadable) return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
