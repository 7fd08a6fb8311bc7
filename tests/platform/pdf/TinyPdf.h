// PDF documents small enough to be written by a test.
#pragma once

#include "foundation/Data.h"

#include <string>
#include <string_view>
#include <vector>

namespace halden::test {

/// Builds a document object by object. Objects are numbered from 1, in the order in which they are added.
class TinyPdf {
public:
    /// Adds an object with this body; returns its number.
    int add(std::string body);
    /// Adds a stream; `entries` are those of its dictionary but for the length.
    int addStream(const std::string& bytes, const std::string& entries = {});
    /// Replaces the body of an object.
    void replace(int number, std::string body);

    /// Entries of the trailer but for the size: "/Root 1 0 R".
    void setTrailer(std::string entries) { trailer_ = std::move(entries); }
    void setHeader(std::string header) { header_ = std::move(header); }

    /// The document, with a cross-reference table.
    [[nodiscard]] std::string bytes() const;
    /// The document as a crash of its writer leaves it: without cross-reference table and trailer.
    [[nodiscard]] std::string bytesWithoutTable() const;
    [[nodiscard]] Data data() const { return Data::copying(bytes()); }

    /// "N 0 R".
    [[nodiscard]] static std::string reference(int number);

private:
    std::string header_ = "%PDF-1.7\n";
    std::string trailer_;
    std::vector<std::string> objects_;
};

/// Numbers of the objects of `documentWithPages`.
inline constexpr int kCatalog = 1;
inline constexpr int kPageTree = 2;
inline constexpr int kFont = 3;
inline constexpr int kInformation = 4;
inline constexpr int kFirstPage = 5;

/// A document in which each page shows one of `contents`: a content stream that may use the font /F. A page is the
/// object kFirstPage + 2 * index, its contents the one that follows.
[[nodiscard]] TinyPdf documentWithPages(const std::vector<std::string>& contents, const std::string& information = {});

/// A content stream that shows a line of text, written as in a PDF string.
[[nodiscard]] std::string showing(std::string_view line);

/// A content stream that shows each line below the one before.
[[nodiscard]] std::string showingLines(const std::vector<std::string>& lines);

}  // namespace halden::test
