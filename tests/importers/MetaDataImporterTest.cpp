#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "importers/MetaDataImporter.h"
#include "platform/plists/PropertyList.h"
#include "tests/importers/TestBundles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using halden::Array;
using halden::Dictionary;
using halden::Value;
using test::BundleInfo;
using test::infoForExtension;
using test::makeBundle;
using test::TemporaryFolder;
using ::testing::ElementsAre;

std::u16string pathString(const fs::path& path) {
    return halden::stringFromPathBytes(path.string());
}

class MetaDataImporterTest : public ::testing::Test {
protected:
    MetaDataImporterTest() {
        fs::create_directory(folder_ / "local");
        locations_.userFolder = u"/nowhere";
        locations_.localFolder = pathString(folder_ / "local");
        locations_.systemFolder = u"/nowhere";
        locations_.lister = "/bin/true";
        halden::setLogSink([this](halden::LogLevel level, std::string_view line) {
            if (level != halden::LogLevel::debug) log_.emplace_back(line);
        });
    }
    ~MetaDataImporterTest() override { halden::setLogSink({}); }

    fs::path install(const std::string& name, const std::string& executable, const BundleInfo& info) {
        return makeBundle(folder_ / "local", name, executable, info);
    }
    std::u16string file(const std::string& name) { return pathString(folder_.write(name, "contents")); }

    /// Makes the lister name these bundles of the local folder, so that their order is known: the last one comes first.
    void list(const std::vector<fs::path>& bundles) {
        std::vector<std::u16string> paths;
        for (const auto& bundle : bundles)
            paths.push_back(pathString(bundle));
        const auto output = folder_.write("output", halden::oldTextPropertyListOfStrings(paths));
        const auto lister = folder_.write("lister", "#!/bin/sh\n/bin/cat '" + output.string() + "' >&2\n");
        fs::permissions(lister, fs::perms::owner_all);
        locations_.lister = lister;
    }

    std::optional<Dictionary> metaData(const std::string& name) {
        return MetaDataImporter(locations_).metaDataOfFileAtPath(file(name));
    }

    TemporaryFolder folder_;
    halden::ImporterLocations locations_;
    std::vector<std::string> log_;
};

TEST_F(MetaDataImporterTest, TheImporterGetsTheLowercasedTypeAndThePath) {
    install("Good", "Good", {.types = {"org.Quarry.TEST.qgood"}, .extensions = {{"qgood", "ORG.quarry.test.QGOOD"}}});
    MetaDataImporter importer(locations_);
    const auto path = file("caf\xE9.qgood");  // not UTF-8
    EXPECT_TRUE(importer.supportsFileAtPath(path));
    const auto attributes = importer.metaDataOfFileAtPath(path);
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"kMDItemTextContent"), Value(u"org.quarry.test.qgood"));
    EXPECT_EQ(importer.textContentOfFileAtPath(path), u"org.quarry.test.qgood");
}

TEST_F(MetaDataImporterTest, EveryKindOfValueArrivesAndOpenContainersAreClosed) {
    install("Kinds", "AllKinds", infoForExtension("qkinds"));
    const auto attributes = metaData("a.qkinds");
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"null"), Value());
    EXPECT_EQ(*attributes->find(u"bool"), Value(true));
    EXPECT_EQ(*attributes->find(u"integer"), Value(-7));
    EXPECT_EQ(*attributes->find(u"real"), Value(0.5));
    EXPECT_EQ(*attributes->find(u"date"), Value(halden::Date{0}));
    EXPECT_EQ(*attributes->find(u"string"), Value(u"caf\u00E9 \uFFFD"));
    EXPECT_EQ(*attributes->find(u"surrogate"), Value(u"\uFFFD"));
    EXPECT_EQ(*attributes->find(u"data"), Value(halden::Data::copying(std::string_view("\0\1", 2))));
    EXPECT_FALSE(attributes->contains(u"removed"));
    EXPECT_FALSE(attributes->contains(u"nothing"));
    const auto* array = attributes->find(u"array")->as<Array>();
    ASSERT_NE(array, nullptr);
    ASSERT_EQ(array->size(), 3U);
    EXPECT_EQ(array->at(1), Value(Dictionary{{u"inner", false}}));
    const Value* innermost = &array->at(2);
    int depth = 1;
    while (const auto* inner = innermost->as<Array>()) {
        innermost = &inner->at(0);
        ++depth;
    }
    EXPECT_EQ(*innermost, Value(depth));
    EXPECT_EQ(depth, 16);
    // The text content of a file whose importer gives none.
    EXPECT_FALSE(MetaDataImporter(locations_).textContentOfFileAtPath(file("b.qkinds")));
}

TEST_F(MetaDataImporterTest, WhatAnImporterFilledBeforeItThrewCounts) {
    install("Throws", "Throws", infoForExtension("qthrows"));
    EXPECT_EQ(metaData("a.qthrows"),
              (Dictionary{{u"kMDItemTitle", u"before the fault"}, {u"kMDItemAuthors", Array{}}}));
    EXPECT_TRUE(log_.empty());
}

TEST_F(MetaDataImporterTest, AnImporterThatFillsNothingGivesNil) {
    install("Nothing", "FillsNothing", infoForExtension("qnothing"));
    EXPECT_FALSE(metaData("a.qnothing"));
    EXPECT_TRUE(MetaDataImporter(locations_).supportsFileAtPath(file("a.qnothing")));
}

TEST_F(MetaDataImporterTest, TheFirstImporterOfATypeDecidesEvenWhenItFails) {
    const auto good = install("Good", "Good", infoForExtension("qgood"));
    auto info = infoForExtension("qgood");
    info.factories = {"noSuchFunction"};
    const auto broken = install("Broken", "Good", info);
    list({good, broken});
    EXPECT_FALSE(metaData("a.qgood"));
    EXPECT_FALSE(MetaDataImporter(locations_).supportsFileAtPath(file("a.qgood")));
    list({broken, good});
    EXPECT_TRUE(metaData("a.qgood"));
}

TEST_F(MetaDataImporterTest, TheFirstFactoryThatMakesAnInstanceDecides) {
    const std::pair<std::vector<std::string>, bool> rows[] = {
        {{"", "noSuchFunction", "makeNothing", "makeTestImporter"}, true},
        {{"makeNothing", "makeStranger", "makeTestImporter"}, false},
        {{}, false},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const std::string extension = "qfactories" + std::to_string(i);
        auto info = infoForExtension(extension);
        info.factories = rows[i].first;
        // A bundle each: what is loaded stays loaded.
        install("Factories" + std::to_string(i), "Factories", info);
        EXPECT_EQ(metaData("a." + extension).has_value(), rows[i].second) << i;
    }
}

TEST_F(MetaDataImporterTest, ThereIsNoConformanceTest) {
    install("General", "Good", {.types = {"public.data", "public.text"}});
    EXPECT_FALSE(metaData("a.txt"));
}

TEST_F(MetaDataImporterTest, HelpFilesDeclaredDynamicallyAreHelpFiles) {
    const auto bundle = install("Help", "Good", {.types = {"DYN.ah62d4rv4ge80g4dr"}});
    MetaDataImporter importer(locations_);
    importer.initMDImporters();
    EXPECT_THAT(*importer.contentTypesForMDImporter(pathString(bundle)), ElementsAre(u"com.microsoft.chm-archive"));
}

TEST_F(MetaDataImporterTest, OnlyStringsOfImporterTypesAreDeclared) {
    const auto bundle = install(
        "Odd", "Good",
        {.documentTypes = "<array><string>x</string>"
                          "<dict><key>CFBundleTypeRole</key><string>Viewer</string>"
                          "<key>LSItemContentTypes</key><array><string>a</string></array></dict>"
                          "<dict><key>CFBundleTypeRole</key><string>MDImporter</string>"
                          "<key>LSItemContentTypes</key><string>b</string></dict>"
                          "<dict><key>CFBundleTypeRole</key><string>MDImporter</string>"
                          "<key>LSItemContentTypes</key><array><integer>1</integer><string>C</string><string>c</string>"
                          "</array></dict></array>"});
    const auto empty = install("Empty", "Good", {.types = {}});
    MetaDataImporter importer(locations_);
    importer.initMDImporters();
    EXPECT_THAT(*importer.contentTypesForMDImporter(pathString(bundle)), ElementsAre(u"c", u"c"));
    ASSERT_NE(importer.contentTypesForMDImporter(pathString(empty)), nullptr);
    EXPECT_TRUE(importer.contentTypesForMDImporter(pathString(empty))->empty());
    EXPECT_TRUE(log_.empty());
}

struct Skipped {
    const char* name;
    BundleInfo info;
};

TEST_F(MetaDataImporterTest, ImportersThatDeclareNothingOrOnlyTagMailAreSkippedWithALine) {
    const BundleInfo plain{.types = {"public.x"}};
    BundleInfo tags = plain;
    tags.identifier = "org.tagsmail.importer";
    const Skipped rows[] = {
        {"None", {.documentTypes = "none"}},
        {"NoArray", {.documentTypes = "<string>x</string>"}},
        {"EmptyArray", {.documentTypes = "<array/>"}},
        {"Renamed", tags},
        {"TagsMail", plain},
        {"_TagsMail", plain},
    };
    for (const auto& row : rows) {
        log_.clear();
        const auto bundle = install(row.name, "Good", row.info);
        MetaDataImporter importer(locations_);
        importer.initMDImporters();
        EXPECT_EQ(importer.contentTypesForMDImporter(pathString(bundle)), nullptr) << row.name;
        EXPECT_THAT(log_, ElementsAre("Skipped: " + bundle.string()));
        fs::remove_all(bundle);
    }
    const auto kept = install("tagsmail", "Good", plain);  // names are compared exactly
    MetaDataImporter importer(locations_);
    importer.initMDImporters();
    EXPECT_NE(importer.contentTypesForMDImporter(pathString(kept)), nullptr);
}

TEST_F(MetaDataImporterTest, ExecutablesThatCannotBeLoadedAreSkippedSilently) {
    const auto whole = test::testExecutable("Good");
    std::ifstream stream(whole, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    std::string foreign = bytes;
    foreign[18] = static_cast<char>(foreign[18] == 40 ? 41 : 40);  // the machine
    const std::string executables[] = {bytes.substr(0, bytes.size() / 2), bytes.substr(0, 100), foreign, "text", ""};
    for (const auto& executable : executables) {
        const auto bundle = install("Damaged", "Good", infoForExtension("qgood"));
        std::ofstream(bundle / "Contents/Linux/Damaged", std::ios::binary) << executable;
        MetaDataImporter importer(locations_);
        importer.initMDImporters();
        EXPECT_EQ(importer.contentTypesForMDImporter(pathString(bundle)), nullptr) << executable.size();
        EXPECT_FALSE(importer.metaDataOfFileAtPath(file("a.qgood")));
    }
    install("Damaged", "Program", infoForExtension("qgood"));
    EXPECT_FALSE(metaData("a.qgood"));
    EXPECT_TRUE(log_.empty());
}

TEST_F(MetaDataImporterTest, TheTableIsLoadedOnceAndOnlyForFilesThatExist) {
    MetaDataImporter importer(locations_);
    EXPECT_FALSE(importer.metaDataOfFileAtPath(std::nullopt));
    EXPECT_FALSE(importer.supportsFileAtPath(std::nullopt));
    EXPECT_FALSE(importer.metaDataOfFileAtPath(u"/nowhere/at.all"));
    EXPECT_FALSE(importer.MDImporterArray());
    importer.initMDImporters();
    EXPECT_TRUE(importer.MDImporterArray()->empty());
    install("Late", "Good", infoForExtension("qgood"));
    EXPECT_FALSE(importer.metaDataOfFileAtPath(file("a.qgood")));
    EXPECT_TRUE(importer.MDImporterArray()->empty());
}

TEST_F(MetaDataImporterTest, AMissingListerRaisesOnceAndLeavesTheTableEmpty) {
    install("Good", "Good", infoForExtension("qgood"));
    locations_.lister = folder_ / "missing";
    MetaDataImporter importer(locations_);
    EXPECT_THROW((void)importer.metaDataOfFileAtPath(file("a.qgood")), halden::Exception);
    EXPECT_FALSE(importer.metaDataOfFileAtPath(file("a.qgood")));
    EXPECT_FALSE(importer.supportsFileAtPath(file("a.qgood")));
}

TEST_F(MetaDataImporterTest, CleanUpSeesResultsAndTheFallbackStandsInForNone) {
    install("Good", "Good", infoForExtension("qgood"));
    install("Nothing", "FillsNothing", infoForExtension("qnothing"));
    MetaDataImporter importer(locations_);
    importer.setResultCleanUp([](Dictionary& attributes, std::u16string_view) { attributes.set(u"cleaned", true); });
    importer.setFallback([](std::u16string_view path) -> std::optional<Dictionary> {
        return Dictionary{{u"fallback", path}};
    });
    EXPECT_EQ(*importer.metaDataOfFileAtPath(file("a.qgood"))->find(u"cleaned"), Value(true));
    for (const auto& path : {file("a.qnothing"), file("a.unknown"), std::u16string(u"/nowhere/x.oo3")}) {
        EXPECT_EQ(importer.metaDataOfFileAtPath(path), (Dictionary{{u"fallback", path}}));
    }
    EXPECT_FALSE(importer.metaDataOfFileAtPath(std::nullopt));

    // What the clean-up leaves nothing of is no result, and nothing stands in for it.
    importer.setResultCleanUp([](Dictionary& attributes, std::u16string_view) { attributes = Dictionary(); });
    EXPECT_EQ(importer.metaDataOfFileAtPath(file("a.qgood")), std::nullopt);
}

TEST(SharedImporter, IsKeptUntilItIsReleased) {
    const std::weak_ptr<MetaDataImporter> first = MetaDataImporter::sharedImporter();
    ASSERT_FALSE(first.expired());
    EXPECT_EQ(MetaDataImporter::sharedImporter(), first.lock());
    MetaDataImporter::releaseSharedImporter();
    EXPECT_TRUE(first.expired());
    EXPECT_NE(MetaDataImporter::sharedImporter(), nullptr);
}

}  // namespace
}  // namespace quarry
