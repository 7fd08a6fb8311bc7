#include "tests/platform/pdf/TinyPdf.h"

#include <cstdio>

namespace halden::test {

int TinyPdf::add(std::string body) {
    objects_.push_back(std::move(body));
    return static_cast<int>(objects_.size());
}

int TinyPdf::addStream(const std::string& bytes, const std::string& entries) {
    return add("<< " + entries + " /Length " + std::to_string(bytes.size()) + " >>\nstream\n" + bytes + "\nendstream");
}

void TinyPdf::replace(int number, std::string body) {
    objects_.at(static_cast<std::size_t>(number) - 1) = std::move(body);
}

std::string TinyPdf::bytesWithoutTable() const {
    std::string bytes = header_;
    for (std::size_t i = 0; i < objects_.size(); ++i)
        bytes += std::to_string(i + 1) + " 0 obj\n" + objects_[i] + "\nendobj\n";
    return bytes;
}

std::string TinyPdf::bytes() const {
    std::string table = "xref\n0 " + std::to_string(objects_.size() + 1) + "\n0000000000 65535 f \n";
    std::size_t offset = header_.size();
    for (std::size_t i = 0; i < objects_.size(); ++i) {
        char row[32];
        std::snprintf(row, sizeof row, "%010zu 00000 n \n", offset);
        table += row;
        offset += std::to_string(i + 1).size() + std::string(" 0 obj\n\nendobj\n").size() + objects_[i].size();
    }
    return bytesWithoutTable() + table + "trailer\n<< /Size " + std::to_string(objects_.size() + 1) + " " + trailer_ +
           " >>\nstartxref\n" + std::to_string(offset) + "\n%%EOF\n";
}

std::string TinyPdf::reference(int number) {
    return std::to_string(number) + " 0 R";
}

TinyPdf documentWithPages(const std::vector<std::string>& contents, const std::string& information) {
    TinyPdf pdf;
    std::string kids;
    for (std::size_t i = 0; i < contents.size(); ++i)
        kids += TinyPdf::reference(kFirstPage + 2 * static_cast<int>(i)) + " ";
    pdf.add("<< /Type /Catalog /Pages 2 0 R >>");
    pdf.add("<< /Type /Pages /Count " + std::to_string(contents.size()) + " /Kids [" + kids +
            "] /MediaBox [0 0 200 100] /Resources << /Font << /F 3 0 R >> >> >>");
    pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
    pdf.add("<< " + information + " >>");
    for (const auto& content : contents) {
        const int page = pdf.add({});
        const int stream = pdf.addStream(content);
        pdf.replace(page, "<< /Type /Page /Parent 2 0 R /Contents " + TinyPdf::reference(stream) + " >>");
    }
    pdf.setTrailer("/Root 1 0 R /Info 4 0 R");
    return pdf;
}

std::string showing(std::string_view line) {
    return "BT /F 12 Tf 10 80 Td (" + std::string(line) + ") Tj ET";
}

std::string showingLines(const std::vector<std::string>& lines) {
    std::string content = "BT /F 12 Tf 14 TL 10 80 Td ";
    for (const auto& line : lines)
        content += "(" + line + ") Tj T* ";
    return content + "ET";
}

}  // namespace halden::test
