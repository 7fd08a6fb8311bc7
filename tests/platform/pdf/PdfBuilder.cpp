#include "tests/platform/pdf/PdfBuilder.h"

#include <array>
#include <cstdio>

namespace halden::test {

PdfBuilder PdfBuilder::withPages(int pages) {
    PdfBuilder builder;
    std::string kids;
    for (int page = 1; page <= pages; ++page) {
        const int number = 2 + 2 * page;
        const std::string contents = "BT /F 12 Tf 72 700 Td (Page " + std::to_string(page) + ") Tj ET";
        builder.objects[number] = "<< /Type /Page /Parent 2 0 R /Contents " + std::to_string(number + 1) +
                                  " 0 R /Resources << /Font << /F 3 0 R >> >> >>";
        builder.objects[number + 1] =
            "<< /Length " + std::to_string(contents.size()) + " >>\nstream\n" + contents + "\nendstream";
        kids += std::to_string(number) + " 0 R ";
    }
    builder.objects[1] = "<< /Type /Catalog /Pages 2 0 R >>";
    builder.objects[2] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages) + " /MediaBox [0 0 300 400.5] >>";
    builder.objects[3] = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>";
    return builder;
}

Data PdfBuilder::build() const {
    std::string file = "%PDF-1.5\n";
    std::map<int, std::size_t> offsets;
    for (const auto& [number, object] : objects) {
        offsets[number] = file.size();
        file += std::to_string(number) + " 0 obj\n" + object + "\nendobj\n";
    }
    const std::size_t start = file.size();
    const std::string size = std::to_string(objects.empty() ? 1 : objects.rbegin()->first + 1);
    if (hasCrossReferences) {
        file += "xref\n0 1\n0000000000 65535 f \n";
        for (const auto& [number, offset] : offsets) {
            std::array<char, 32> entry{};
            std::snprintf(entry.data(), entry.size(), "%d 1\n%010zu 00000 n \n", number, offset);
            file += entry.data();
        }
    }
    file += "trailer\n<< /Size " + size + " " + trailer + " >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n";
    return Data::copying(file);
}

}  // namespace halden::test
