// SPDX-License-Identifier: Apache-2.0

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <fstream>
#include <sstream>

#include "sandbox/PictureGallery.hpp"
#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using drawing::PixelSize;
using testing::StartsWith;
using tests::Reply;
using tests::RunningSandbox;
using tests::serving;

std::uint32_t bigEndian(const std::string& bytes, std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        number = number << 8 | static_cast<unsigned char>(bytes.at(offset + index));
    }
    return number;
}

/// The size that a PNG's header declares.
PixelSize declaredSize(const std::string& png) {
    return {static_cast<int>(bigEndian(png, 16)), static_cast<int>(bigEndian(png, 20))};
}

TEST(FittedSize, KeepsTheShapeAndNeverGrows) {
    const struct {
        PixelSize size;
        PixelSize bounds;
        PixelSize fitted;
    } rows[] = {
        {{512, 512}, {192, 192}, {192, 192}}, {{4000, 3000}, {192, 192}, {192, 144}},
        {{16, 16}, {192, 192}, {16, 16}},     {{2000, 100}, {192, 192}, {192, 10}},
        {{600, 400}, {0, 100}, {150, 100}},   {{600, 400}, {0, 0}, {600, 400}},
        {{8000, 1}, {10, 10}, {10, 1}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sandbox::fitted(row.size, row.bounds), row.fitted) << row.size.width;
}

TEST(Gallery, ServesEveryPictureOfItsCatalogueByItsForm) {
    const std::map<std::string, std::pair<std::string, std::string>> beginnings = {
        {"png", {"image/png", "\x89PNG\r\n"}},
        {"jpeg", {"image/jpeg", "\xff\xd8\xff"}},
        {"webp", {"image/webp", "RIFF"}},
        {"gif", {"image/gif", "GIF89a"}},
    };
    const RunningSandbox sandbox(serving("empty"));
    std::ifstream stream(std::string(SANDBOX_DATA_FOLDER) + "/pictures.json");
    std::ostringstream catalogue;
    catalogue << stream.rdbuf();
    const auto parsed = boost::json::parse(catalogue.str());
    for (const auto& entry : parsed.as_object()) {
        const std::string form(entry.value().as_object().at("form").as_string());
        const auto& [type, beginning] = beginnings.at(form.substr(0, form.find('-')));
        const Reply reply =
            sandbox.get("/pictures/" + std::string(entry.key()) + "?maxWidth=64&maxHeight=64");
        EXPECT_EQ(reply.status, 200) << entry.key();
        EXPECT_EQ(reply.value("Content-Type"), type) << entry.key();
        EXPECT_THAT(reply.body, StartsWith(beginning)) << entry.key();
    }
}

TEST(Gallery, BoundsAPictureUnderEitherName) {
    const RunningSandbox sandbox(serving("empty"));
    EXPECT_EQ(declaredSize(sandbox.get("/pictures/logos/fathom.png").body), (PixelSize{512, 512}));
    EXPECT_EQ(declaredSize(sandbox.get("/pictures/logos/fathom.png?maxWidth=192&maxHeight=192").body),
              (PixelSize{192, 192}));
    EXPECT_EQ(declaredSize(sandbox.get("/pictures/logos/fathom.png?width=100").body), (PixelSize{100, 100}));
    EXPECT_EQ(declaredSize(sandbox.get("/pictures/logos/fathom.png?maxWidth=many&maxHeight=-3").body),
              (PixelSize{512, 512}));
}

TEST(Gallery, DoesNotHaveEveryPicture) {
    const RunningSandbox sandbox(serving("empty"));
    EXPECT_EQ(sandbox.get("/pictures/absent.png").status, 404);
    EXPECT_EQ(sandbox.get("/pictures/../pictures.json").status, 404);
    EXPECT_EQ(sandbox.post("/pictures/logos/fathom.png", {}, "x").status, 405);
}

TEST(BrokenPicture, IsBrokenAsItsNameSays) {
    const RunningSandbox sandbox(serving("empty"));
    EXPECT_THAT(sandbox.get("/pictures/broken/text").body, StartsWith("This is no picture"));
    EXPECT_EQ(sandbox.get("/pictures/broken/empty").body, "");
    const std::string cut = sandbox.get("/pictures/broken/cut").body;
    EXPECT_THAT(cut, StartsWith("\xff\xd8\xff"));
    EXPECT_EQ(cut.find("\xff\xd9"), std::string::npos);
    EXPECT_EQ(declaredSize(sandbox.get("/pictures/broken/bomb").body), (PixelSize{60000, 60000}));
    EXPECT_EQ(sandbox.get("/pictures/broken/huge").body.size(), std::size_t{50} << 20);
    EXPECT_EQ(sandbox.get("/pictures/broken/loop").value("Location"), "/pictures/broken/loop");
    EXPECT_FALSE(sandbox.get("/pictures/broken/dropped").isWhole);
}

}  // namespace
