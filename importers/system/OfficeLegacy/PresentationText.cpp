// Text of PowerPoint's binary format: records inside one another. Each edit appends the records that it has changed,
// and a directory of where the valid ones are.
#include "importers/system/OfficeLegacy/BinaryBytes.h"
#include "importers/system/OfficeLegacy/BinaryText.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace quarry::legacy {
namespace {

enum Record : std::uint32_t {
    kDocument = 0x03E8,
    kSlidePersist = 0x03F3,
    kTextUnits = 0x0FA0,
    kTextBytes = 0x0FA8,
    kSlideList = 0x0FF0,
    kUserEdit = 0x0FF5,
    kDirectory = 0x1772,
    kCryptSession = 0x2F14
};

constexpr std::uint32_t kEncryptedToken = 0xF3D1C4DF;
constexpr int kMaxEdits = 4096;
constexpr int kMaxDepth = 32;
constexpr std::size_t kMaxRecords = 4'000'000;

struct Atom {
    std::uint32_t type = 0;
    std::uint32_t instance = 0;
    bool isContainer = false;
    std::string_view contents;
};

Atom atomAt(std::string_view bytes, std::size_t offset) {
    const std::uint32_t options = shortAt(bytes, offset);
    return {shortAt(bytes, offset + 2), options >> 4, (options & 0xF) == 0xF,
            part(bytes, offset + 8, longAt(bytes, offset + 4))};
}

class Presentation {
public:
    explicit Presentation(std::string_view stream) : stream_(stream) {}

    BinaryText read(std::string_view currentUser) {
        if (longAt(currentUser, 12) == kEncryptedToken) return {{}, true};
        const std::uint32_t documentID = readDirectories(longAt(currentUser, 16));
        const auto document = places_.find(documentID);
        if (document != places_.end() && atomAt(stream_, document->second).type == kDocument) {
            // The lists of slides are numbered: 0 the slides, 2 their notes; 1 has the masters, whose text is no
            // content.
            for (const std::uint32_t list : {0U, 2U})
                appendLists(atomAt(stream_, document->second).contents, list);
        } else {
            appendText(stream_, 0);
        }
        if (result_.isEncrypted) result_.text.clear();
        return std::move(result_);
    }

private:
    /// The newest edit comes first, and names the one before. Returns the number of the document's record.
    std::uint32_t readDirectories(std::size_t offset) {
        std::uint32_t documentID = 0;
        for (int i = 0; i < kMaxEdits; ++i) {
            const Atom edit = atomAt(stream_, offset);
            if (edit.type != kUserEdit) break;
            if (documentID == 0) documentID = longAt(edit.contents, 16);
            const Atom directory = atomAt(stream_, longAt(edit.contents, 12));
            if (directory.type == kDirectory) readDirectory(directory.contents);
            const std::size_t previous = longAt(edit.contents, 8);
            if (previous == 0 || previous >= offset) break;
            offset = previous;
        }
        return documentID;
    }
    void readDirectory(std::string_view entries) {
        for (std::size_t i = 0; i + 4 <= entries.size();) {
            const std::uint32_t head = longAt(entries, i);
            i += 4;
            for (std::uint32_t k = 0; k < head >> 20 && i + 4 <= entries.size(); ++k, i += 4)
                places_.emplace((head & 0xFFFFF) + k, longAt(entries, i));
        }
    }

    template <typename Function>
    void forEachAtom(std::string_view bytes, Function function) {
        for (std::size_t i = 0; i + 8 <= bytes.size() && result_.text.size() < kMaxText;) {
            if (++records_ > kMaxRecords) return;
            const Atom atom = atomAt(bytes, i);
            function(atom);
            i += 8 + std::size_t{longAt(bytes, i + 4)};
        }
    }
    void appendLists(std::string_view document, std::uint32_t number) {
        forEachAtom(document, [&](const Atom& list) {
            if (list.type == kSlideList && list.instance == number) appendList(list.contents);
        });
    }
    /// For each slide the texts of its outline, then those in its drawing.
    void appendList(std::string_view list) {
        std::size_t drawing = stream_.size();
        const auto appendDrawing = [&] {
            if (drawing < stream_.size()) appendText(atomAt(stream_, drawing).contents, 0);
        };
        forEachAtom(list, [&](const Atom& atom) {
            appendTextOfAtom(atom);
            if (atom.type != kSlidePersist) return;
            appendDrawing();
            const auto found = places_.find(longAt(atom.contents, 0));
            drawing = found != places_.end() ? found->second : stream_.size();
        });
        appendDrawing();
    }
    void appendText(std::string_view bytes, int depth) {
        forEachAtom(bytes, [&](const Atom& atom) {
            if (atom.type == kCryptSession) result_.isEncrypted = true;
            if (atom.isContainer && depth < kMaxDepth)
                appendText(atom.contents, depth + 1);
            else
                appendTextOfAtom(atom);
        });
    }
    void appendTextOfAtom(const Atom& atom) {
        if (atom.contents.empty() || (atom.type != kTextUnits && atom.type != kTextBytes)) return;
        if (atom.type == kTextUnits)
            appendUnits(result_.text, atom.contents);
        else
            appendBytes(result_.text, atom.contents);
        result_.text.push_back('\n');
    }

    std::string_view stream_;
    std::unordered_map<std::uint32_t, std::size_t> places_;  ///< of records, by number
    std::size_t records_ = 0;
    BinaryText result_;
};

}  // namespace

BinaryText textOfPresentation(std::string_view stream, std::string_view currentUser) {
    return Presentation(stream).read(currentUser);
}

}  // namespace quarry::legacy
