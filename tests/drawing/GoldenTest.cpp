// SPDX-License-Identifier: Apache-2.0

// Pictures held against those that were looked at. VELA_RENEW_GOLDENS=1 writes them anew, for looking at
// again.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

#include "drawing/Image/Image.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using namespace drawing;

struct Golden {
    std::string sample;
    platform::WidgetFamily family;
    ColorScheme scheme;
    /// The person's.
    std::string language = "en-US";
};

/// For the names of the tests.
std::ostream& operator<<(std::ostream& stream, const Golden& golden) {
    return stream << golden.sample << " " << platform::description(golden.family) << " "
                  << (golden.scheme == ColorScheme::light ? "light" : "dark");
}

class Goldens : public testing::TestWithParam<Golden> {};

std::string name(const Golden& golden) {
    return golden.sample + "-" + std::string(description(golden.family)) +
           (golden.scheme == ColorScheme::dark ? "-dark" : "-light") +
           (golden.language == "en-US" ? "" : "-" + golden.language);
}

std::optional<Bitmap> decoded(const std::string& png) {
    const auto header = imageHeader(png);
    return header ? decodedImage(png, header->size) : std::nullopt;
}

/// The mean difference of a channel, 0 to 255, after both were reduced to a quarter: what an eye would
/// notice, and not how this or that version of a library shades the edge of a letter.
double difference(const Bitmap& first, const Bitmap& second) {
    const PixelSize quarter{first.width() / 4, first.height() / 4};
    const Bitmap one = resized(first, quarter);
    const Bitmap other = resized(second, quarter);
    double sum = 0;
    double worst = 0;
    for (std::size_t index = 0; index < one.pixels.size(); ++index) {
        for (int shift = 0; shift < 32; shift += 8) {
            const double apart = std::abs(static_cast<int>(one.pixels[index] >> shift & 0xFF) -
                                          static_cast<int>(other.pixels[index] >> shift & 0xFF));
            sum += apart;
            worst = std::max(worst, apart);
        }
    }
    // A small part that is quite different counts as much as a slight shift of everything.
    return std::max(sum / static_cast<double>(one.pixels.size() * 4), worst / 40);
}

TEST_P(Goldens, LookAsTheyDidWhenTheyWereLookedAt) {
    const std::filesystem::path file = std::filesystem::path(GOLDENS_FOLDER) / (name(GetParam()) + ".png");
    const platform::testing::FixedAmbient surroundings({.languages = {GetParam().language}});
    drawing_tests::SamplePictures loader;
    const std::string png = widget::draw({.entry = drawing_tests::sampleEntry(GetParam().sample),
                                          .family = GetParam().family,
                                          .colorScheme = GetParam().scheme,
                                          .scale = 2},
                                         loader);
    if (std::getenv("VELA_RENEW_GOLDENS")) {
        std::ofstream(file, std::ios::binary) << png;
        GTEST_SKIP() << "written anew";
    }
    std::ifstream stream(file, std::ios::binary);
    const std::optional<Bitmap> golden = decoded(std::string(std::istreambuf_iterator(stream), {}));
    const std::optional<Bitmap> drawn = decoded(png);
    ASSERT_TRUE(golden && drawn);
    ASSERT_EQ(golden->size, drawn->size);
    EXPECT_LT(difference(*golden, *drawn), 1.0);
}

INSTANTIATE_TEST_SUITE_P(
    Small, Goldens,
    testing::Values(Golden{"Latin", platform::WidgetFamily::systemSmall, ColorScheme::light},
                    Golden{"Latin", platform::WidgetFamily::systemMedium, ColorScheme::dark},
                    Golden{"Latin", platform::WidgetFamily::systemLarge, ColorScheme::light},
                    Golden{"Arabic", platform::WidgetFamily::systemMedium, ColorScheme::light},
                    Golden{"LongWords", platform::WidgetFamily::systemLarge, ColorScheme::dark},
                    Golden{"OneLine", platform::WidgetFamily::accessoryRectangular, ColorScheme::dark},
                    Golden{"Placeholder", platform::WidgetFamily::accessoryInline, ColorScheme::light},
                    Golden{"Latin", platform::WidgetFamily::systemMedium, ColorScheme::light, "he"},
                    Golden{"Indic", platform::WidgetFamily::systemLarge, ColorScheme::light},
                    Golden{"NotLoggedIn", platform::WidgetFamily::systemLarge, ColorScheme::dark},
                    Golden{"NoPackages", platform::WidgetFamily::systemSmall, ColorScheme::light}),
    [](const auto& instance) {
        std::string text = name(instance.param);
        std::erase(text, '-');
        return text;
    });

}  // namespace
