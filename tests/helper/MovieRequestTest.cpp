// Pictures of movies, asked of the service.
#include "foundation/Path.h"
#include "helper/QuarryHelper.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/movies/MadeMovie.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <functional>

namespace quarry {
namespace {

using halden::Dictionary;
using halden::Value;

class MovieRequestTest : public ::testing::Test {
protected:
    std::u16string made(const std::string& name, const halden::testing::MovieForm& form) {
        halden::testing::makeMovie(folder_ / name, form);
        return halden::stringFromPathBytes((folder_ / name).string());
    }

    test::TemporaryFolder folder_;
    QuarryHelper helper_;
};

TEST_F(MovieRequestTest, OtherRequestsAreServedWhileAMovieLoads) {
    const auto wide = made("wide.mov", {.seconds = 2, .width = 96});
    const auto narrow = made("narrow.mov", {.seconds = 3, .width = 32});
    std::optional<Dictionary> inner;
    bool isOuterDone = false;
    std::function<void()> request = [&] {
        EXPECT_FALSE(isOuterDone);
        inner = helper_.posterImageForMovieWithFile(narrow);
    };
    g_idle_add(
        [](gpointer pointer) -> gboolean {
            (*static_cast<std::function<void()>*>(pointer))();
            return G_SOURCE_REMOVE;
        },
        &request);
    const auto outer = helper_.posterImageForMovieWithFile(wide);
    isOuterDone = true;
    ASSERT_TRUE(outer && inner);
    EXPECT_EQ(*outer->find(u"Size"), Value(u"{96, 48}"));
    EXPECT_EQ(*inner->find(u"Size"), Value(u"{32, 48}"));
    EXPECT_TRUE(outer->contains(u"Thumbnail") && inner->contains(u"Thumbnail"));
    EXPECT_NEAR(*outer->find(u"Duration")->as<double>(), 2, 0.01);
    EXPECT_NEAR(*inner->find(u"Duration")->as<double>(), 3, 0.01);
}

}  // namespace
}  // namespace quarry
