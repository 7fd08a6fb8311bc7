// Web archives: a page with everything that it loads, in a property list.
#pragma once

#include "foundation/Data.h"
#include "foundation/Url.h"
#include "foundation/Value.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarry {

/// A resource of an archive. What the archive does not say is absent.
struct WebResource {
    halden::Data data;
    std::optional<std::u16string> MIMEType;
    std::optional<std::u16string> textEncodingName;
    std::optional<halden::Url> URL;
    /// Of a resource whose data is stored as a string.
    std::optional<std::u16string> stringValue;

    /// The resource's markup; nullopt when its type is none of markup. A stored string that is not empty is taken as it
    /// is; data are decoded as Latin 1 where neither the archive nor the markup names an encoding.
    [[nodiscard]] std::optional<std::u16string> documentSource() const;
};

/// An archive: a main resource, the resources that it loads, and its frames, which are archives themselves.
class WebArchive {
public:
    /// The archive that a property list (in any form) holds; nullopt when it is none: no dictionary, or one with
    /// neither a main resource nor frames. Frames deeper than the property list reader goes are no archive either.
    /// Frames may share a block of data that stands in the property list once; they are left out from where the main
    /// resources together would have more than 16 times the bytes of `data`, and more than kSharedDataLimit.
    [[nodiscard]] static std::optional<WebArchive> archiveWithData(const halden::Data& data);

    static constexpr std::size_t kSharedDataLimit = std::size_t{64} << 20;

    [[nodiscard]] static std::span<const std::u16string_view> webArchiveFileTypes() noexcept;
    /// "webarchive" in any case.
    [[nodiscard]] static bool isWebArchiveExtension(std::u16string_view extension);
    [[nodiscard]] static bool isWebArchiveFile(std::u16string_view path);

    // --- Of a file. nullopt, also in the pointers (which may be null), when it is missing, empty or no archive.

    /// The markup of the main resource.
    [[nodiscard]] static std::optional<std::u16string> documentSourceOfFile(
        std::u16string_view path, std::optional<halden::Url>* baseURL = nullptr);
    /// The text of the archive.
    [[nodiscard]] static std::optional<std::u16string> searchableTextOfFile(
        std::u16string_view path, std::optional<halden::Url>* baseURL = nullptr,
        std::optional<std::u16string>* source = nullptr);

    [[nodiscard]] const std::optional<WebResource>& mainResource() const noexcept { return mainResource_; }
    [[nodiscard]] const std::vector<WebResource>& subresources() const noexcept { return subresources_; }
    [[nodiscard]] const std::vector<WebArchive>& subframeArchives() const noexcept { return subframeArchives_; }

    [[nodiscard]] std::optional<std::u16string> documentSource() const;
    /// The URL of the main resource.
    [[nodiscard]] std::optional<halden::Url> baseURL() const;

    /// The resource with that URL: the main one, else the first of the subresources, else the first of the frames,
    /// depth first; a null pointer when there is none. Lives as long as the archive.
    [[nodiscard]] const WebResource* subresourceForURL(const halden::Url& url) const;
    /// The archive whose main resource has that URL: this one, else the first of the frames, depth first.
    [[nodiscard]] const WebArchive* subArchiveForURL(const std::optional<halden::Url>& url) const;

    /// The plain text of the main resource and of all frames, parents before children, each after two line feeds.
    [[nodiscard]] std::u16string searchableText() const;
    [[nodiscard]] std::u16string searchableTextAndSource(std::optional<std::u16string>* source) const;
    void appendSearchableTextTo(std::u16string& text) const;

private:
    [[nodiscard]] static std::optional<WebArchive> archiveWithValue(const halden::Value& value, std::size_t& budget);
    [[nodiscard]] static std::optional<WebArchive> archiveOfFile(std::u16string_view path);

    std::optional<WebResource> mainResource_;
    std::vector<WebResource> subresources_;
    std::vector<WebArchive> subframeArchives_;
};

/// The answer of the service: "String" (when there is any text), "Source" and "URL", each where there is one; empty for
/// what is no archive.
[[nodiscard]] halden::Dictionary searchableTextOfWebArchive(std::u16string_view path);

}  // namespace quarry
