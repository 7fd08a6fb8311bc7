// A journal that a crash may have cut off or garbled: what is opened can be gone on with, says the same every time, and
// loses nothing that is written to it.
#include "tools/batch/Journal.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using quarry::tools::BatchJournal;
using quarry::tools::ResultPlace;

void require(bool condition) {
    if (!condition) std::abort();
}

const std::string& journalPath() {
    static const std::string path =
        (std::filesystem::temp_directory_path() / ("quarry-fuzz-journal-" + std::to_string(::getpid()))).native();
    return path;
}

std::string fileContents() {
    std::ifstream file(journalPath(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& text) {
    std::ofstream(journalPath(), std::ios::binary | std::ios::trunc) << text;
}

constexpr BatchJournal::Record kRecord{.key = 0xABCDEF, .fingerprint = 0x123456};
constexpr ResultPlace kPlace{.shard = 3, .length = 77};

/// Opened with nothing written, it reads as it did; what is appended is read back.
void checkJournal(const std::string& text) {
    writeFile(text);
    ResultPlace place;
    bool hasRecord = false;
    {
        BatchJournal journal;
        if (journal.open(journalPath(), "out")) {
            require(fileContents() == text);  // what is no journal of ours stays as it is
            return;
        }
        place = journal.place();
        hasRecord = journal.contains(kRecord);
    }
    {
        BatchJournal journal;
        require(!journal.open(journalPath(), "out"));
        require(journal.place() == place && journal.contains(kRecord) == hasRecord);
        require(journal.append(kRecord, kPlace));
    }
    BatchJournal journal;
    require(!journal.open(journalPath(), "out"));
    require(journal.place() == kPlace && journal.contains(kRecord));
}

/// What follows whole records never takes them away.
void checkTail(const std::string& tail) {
    writeFile({});
    {
        BatchJournal journal;
        require(!journal.open(journalPath(), "out") && journal.append(kRecord, kPlace));
    }
    const std::string whole = fileContents();
    checkJournal(whole + tail);
    writeFile(whole + tail);
    BatchJournal journal;
    require(!journal.open(journalPath(), "out"));
    if (tail.find('\n') == std::string::npos) require(journal.contains(kRecord) && journal.place() == kPlace);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    checkJournal(text);
    checkTail(text);
    std::filesystem::remove(journalPath());
    return 0;
}
