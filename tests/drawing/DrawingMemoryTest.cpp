// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include "drawing/Writers/JPEGFile.hpp"
#include "tests/drawing/Photograph.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/MemoryLimit.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using drawing_tests::url;

class OnePicture final : public drawing::PictureLoader {
  public:
    explicit OnePicture(std::string file) : file_(std::move(file)) {}
    std::optional<std::string> read(const platform::URL&) override { return file_; }

  private:
    std::string file_;
};

widget::SimpleEntry tenPackages() {
    std::vector<presentation::StoredPackage::Values> packages;
    for (const std::string number : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"})
        packages.push_back({.shopName = "柚子 Fathom متجر " + number,
                            .deepLinkingUrl = url("velaapp://order/" + number),
                            .progress = 0.6f,
                            .shopImage = url("sample:shop-" + number),
                            .productImage = url("sample:product-" + number),
                            .statusText = {"Arriving tomorrow", "Customs cleared in Rotterdam"}});
    return drawing_tests::entry(widget::LoggedIn{drawing_tests::packages(std::move(packages))});
}

// A drawing's own, fonts included, which are there before its pictures; the libraries are loaded before.
TEST(DrawingMemory, IsModestWithTenPackagesOfPhotographs) {
    const drawing::StraightBitmap photograph = tests::photograph({4000, 3000});
    for (const bool progressive : {false, true}) {
        OnePicture pictures(drawing::jpegFile(photograph, {.progressive = progressive}));
        EXPECT_TRUE(tests::succeedsWithin(33u << 20, [&] {
            return !widget::draw({.entry = tenPackages(), .family = platform::WidgetFamily::systemLarge},
                                 pictures)
                        .empty();
        })) << (progressive ? "in scans" : "by rows");
    }
}

TEST(DrawingMemory, DoesNotGrowWithTheDrawing) {
    OnePicture none("");
    EXPECT_TRUE(tests::succeedsWithin(31u << 20, [&] {
        return !widget::draw({.entry = tenPackages(),
                              .family = platform::WidgetFamily::systemLarge,
                              .size = drawing::Size{1000, 1000},
                              .scale = 4},
                             none)
                    .empty();
    }));
}

}  // namespace
