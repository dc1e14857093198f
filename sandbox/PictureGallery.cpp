// SPDX-License-Identifier: Apache-2.0

#include "sandbox/PictureGallery.hpp"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <charconv>
#include <fstream>
#include <sstream>

#include "drawing/Writers/PNGFile.hpp"
#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

using boost::json::object;
using boost::json::value;
using drawing::Orientation;
using drawing::PixelSize;

constexpr std::string_view folder = "/pictures/";

std::string textOf(const object& entry, std::string_view key) {
    const value* found = entry.if_contains(key);
    if (found == nullptr) return {};
    if (!found->is_string()) throw Error("\"" + std::string(key) + "\" is not text");
    return std::string(found->get_string());
}

int numberOf(const object& entry, std::string_view key, int least, int most, int otherwise) {
    const value* found = entry.if_contains(key);
    if (found == nullptr) return otherwise;
    if (!found->is_int64() || found->get_int64() < least || found->get_int64() > most) {
        throw Error("\"" + std::string(key) + "\" is not a number between " + std::to_string(least) +
                    " and " + std::to_string(most));
    }
    return static_cast<int>(found->get_int64());
}

std::uint32_t colourOf(const object& entry) {
    const std::string text = textOf(entry, "ground");
    std::uint32_t code = 0;
    const auto end = std::from_chars(text.data() + 1, text.data() + text.size(), code, 16);
    if (text.size() != 7 || text.front() != '#' || end.ptr != text.data() + text.size()) {
        throw Error("\"ground\" is not a colour, as in #0B5563");
    }
    return code;
}

Picture pictureOf(const object& entry) {
    constexpr int longestEdge = 8000;
    return {.drawing = {.subject = textOf(entry, "subject"),
                        .motif = textOf(entry, "motif"),
                        .text = textOf(entry, "text"),
                        .ground = colourOf(entry)},
            .form = pictureForm(textOf(entry, "form")),
            .orientation = static_cast<Orientation>(numberOf(entry, "orientation", 1, 8, 1)),
            .size = {numberOf(entry, "width", 1, longestEdge, 512),
                     numberOf(entry, "height", 1, longestEdge, 512)}};
}

// Pictures that are not

Response plain(int status, std::string_view text) {
    return {.status = status, .contentType = "text/plain; charset=utf-8", .body = std::string(text)};
}

Response picture(std::string body, std::string_view contentType = "image/png") {
    return {.contentType = std::string(contentType), .body = std::move(body)};
}

Response text() {
    return picture("This is no picture, whatever its type says.\n", "image/jpeg");
}

Response empty() {
    return picture({});
}

std::string wholeJPEG() {
    const drawing::StraightBitmap bitmap = drawn({.subject = "landscape", .ground = 0x3B6EA5}, {800, 600});
    return pictureForm("jpeg").file(bitmap, Orientation::upright);
}

Response cut() {
    std::string file = wholeJPEG();
    file.resize(file.size() / 3);
    return picture(std::move(file), "image/jpeg");
}

Response bomb() {
    return picture(drawing::hollowPNGFile({60'000, 60'000}, {.compression = 1}));
}

Response huge() {
    constexpr std::size_t length = std::size_t{50} << 20;
    std::string file = wholeJPEG();
    file.resize(length, '\0');
    return picture(std::move(file), "image/jpeg");
}

Response loop() {
    Response response = plain(302, "Round and round.\n");
    response.headers.push_back({"Location", "/pictures/broken/loop"});
    return response;
}

Response never() {
    return {.manner = Manner::stalled};
}

Response dropped() {
    Response response = cut();
    response.manner = Manner::dropped;
    return response;
}

struct BrokenPicture {
    std::string_view name;
    Response (*answer)();
};

constexpr BrokenPicture brokenPictures[] = {
    {"broken/text", text}, {"broken/empty", empty}, {"broken/cut", cut},     {"broken/bomb", bomb},
    {"broken/huge", huge}, {"broken/loop", loop},   {"broken/never", never}, {"broken/dropped", dropped},
};

PixelSize boundsOf(const Request& request) {
    const auto bound = [&request](std::string_view longName, std::string_view shortName) {
        return std::max(0, request.number(longName).value_or(request.number(shortName).value_or(0)));
    };
    return {bound("maxWidth", "width"), bound("maxHeight", "height")};
}

}  // namespace

PixelSize fitted(PixelSize size, PixelSize bounds) {
    double scale = 1;
    if (bounds.width > 0) scale = std::min(scale, static_cast<double>(bounds.width) / size.width);
    if (bounds.height > 0) scale = std::min(scale, static_cast<double>(bounds.height) / size.height);
    const auto scaled = [scale](int edge) { return std::max(1, static_cast<int>(edge * scale + 0.5)); };
    return {scaled(size.width), scaled(size.height)};
}

PictureGallery::PictureGallery(const std::filesystem::path& catalogue) {
    std::ifstream stream(catalogue, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    boost::system::error_code error;
    const value parsed = boost::json::parse(contents.str(), error);
    if (!stream || error || !parsed.is_object()) {
        throw Error("the catalogue of pictures " + catalogue.string() + " cannot be read");
    }
    for (const auto& entry : parsed.get_object()) {
        try {
            if (!entry.value().is_object()) throw Error("is not an object");
            pictures_.emplace(entry.key(), pictureOf(entry.value().get_object()));
        } catch (const Error& failure) {
            throw Error("picture " + std::string(entry.key()) + ": " + failure.what());
        }
    }
}

Response PictureGallery::answer(const Request& request) {
    if (request.method != "GET" && request.method != "HEAD")
        return plain(405, "Pictures can only be read.\n");
    const std::string_view name = request.path().substr(folder.size());
    for (const BrokenPicture& broken : brokenPictures) {
        if (broken.name == name) return broken.answer();
    }
    const auto found = pictures_.find(name);
    if (found == pictures_.end()) return plain(404, "There is no such picture.\n");

    const Picture& entry = found->second;
    const PixelSize size = fitted(entry.size, boundsOf(request));
    const std::string key =
        std::string(name) + "@" + std::to_string(size.width) + "x" + std::to_string(size.height);
    auto file = files_.find(key);
    if (file == files_.end()) {
        file = files_.emplace(key, entry.form.file(drawn(entry.drawing, size), entry.orientation)).first;
    }
    return picture(file->second, entry.form.mediaType);
}

}  // namespace sandbox
