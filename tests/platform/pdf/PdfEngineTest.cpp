// How the module is found and loaded.
#include "platform/pdf/PdfEngine.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <filesystem>
#include <fstream>

namespace halden {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kLibexec = QUARRY_BUILD_PREFIX "/libexec/quarry";

class Folder {
public:
    Folder() {
        std::string name = testing::TempDir() + "pdf-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    [[nodiscard]] const std::string& path() const { return path_; }
    void write(const std::string& bytes) const { std::ofstream(path_ + "/quarry-pdf.so") << bytes; }

private:
    std::string path_;
};

TEST(PdfEngine, IsFoundInTheBuildTree) {
    const PdfEngineStatus& status = pdfEngineStatus();
    ASSERT_NE(status.engine, nullptr) << status.reason;
    EXPECT_THAT(status.engine->version(), StartsWith("MuPDF 1."));
    EXPECT_EQ(fs::canonical(status.path), fs::canonical(kLibexec + "/quarry-pdf.so"));
    EXPECT_EQ(status.reason, "");
}

TEST(PdfEngine, FirstFolderWithAModuleCounts) {
    const Folder empty;
    const PdfEngineStatus status = loadPdfEngine({"/no/such/folder", empty.path(), kLibexec});
    ASSERT_NE(status.engine, nullptr) << status.reason;
    EXPECT_EQ(status.path, kLibexec + "/quarry-pdf.so");
}

TEST(PdfEngine, AbsentModulesSayWhy) {
    const Folder folder;
    const PdfEngineStatus absent = loadPdfEngine({folder.path()});
    EXPECT_EQ(absent.engine, nullptr);
    EXPECT_EQ(absent.reason, "quarry-pdf.so is not installed");
    EXPECT_EQ(absent.path, "");

    folder.write("no shared object at all");
    const PdfEngineStatus broken = loadPdfEngine({folder.path(), kLibexec});
    EXPECT_EQ(broken.engine, nullptr);
    EXPECT_THAT(broken.reason, StartsWith(folder.path() + "/quarry-pdf.so: "));
}

TEST(PdfEngine, ModulesOfAnotherVersionAreRefused) {
    const Folder folder;
    fs::copy_file(QUARRY_OTHER_MODULE, folder.path() + "/quarry-pdf.so");
    const PdfEngineStatus status = loadPdfEngine({folder.path()});
    EXPECT_EQ(status.engine, nullptr);
    EXPECT_EQ(status.reason, folder.path() + "/quarry-pdf.so is of another version: it has no quarry_pdf_module_4");
}

// Whoever loads the module must not come to call the engine's own copy of a library.
TEST(PdfEngine, TheModuleShowsItsEntryOnly) {
    void* module = dlopen((kLibexec + "/quarry-pdf.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    EXPECT_NE(dlsym(module, kPdfModuleEntry), nullptr);
    struct link_map* map = nullptr;
    ASSERT_EQ(dlinfo(module, RTLD_DI_LINKMAP, &map), 0);
    for (const char* name : {"fz_new_context_imp", "pdf_open_document_with_stream", "hb_buffer_create",
                             "_ZN6halden13utf8FromUtf16B5cxx11ESt17basic_string_viewIDsSt11char_traitsIDsEE"}) {
        Dl_info where{};
        const void* symbol = dlsym(module, name);
        const bool isOwn = symbol != nullptr && dladdr(symbol, &where) != 0 &&
                           reinterpret_cast<std::uintptr_t>(where.dli_fbase) == map->l_addr;
        EXPECT_FALSE(isOwn) << name;
    }
}

}  // namespace
}  // namespace halden
