// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Scenario.hpp"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <fstream>
#include <sstream>

#include "sandbox/Error.hpp"
#include "sandbox/Selection.hpp"

namespace sandbox {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;

constexpr std::size_t pageLength = 10;

std::optional<std::string_view> text(const object& record, std::string_view key) {
    const value* found = record.if_contains(key);
    if (found == nullptr) return std::nullopt;
    if (!found->is_string()) throw Error("\"" + std::string(key) + "\" is not text");
    return std::string_view(found->get_string());
}

std::string repeated(std::string_view unit, const object& rule) {
    const value* times = rule.if_contains("times");
    if (times == nullptr || !times->is_int64() || times->get_int64() < 0 || times->get_int64() > 1'000'000) {
        throw Error("\"times\" is not a number between 0 and 1000000");
    }
    std::string result;
    for (std::int64_t count = 0; count < times->get_int64(); ++count) result += unit;
    return result;
}

/// The schema lets a client bound the pictures of shops and products, which stand under "url", but not those
/// of carriers, which stand under "imageUrl".
std::string pictureURL(std::string_view name, std::string_view key, const ScenarioContext& context) {
    std::string url = context.baseURL + "/pictures/" + std::string(name);
    if (key != "url") return url;
    const std::string bound = std::to_string(context.maximumImageSize);
    return url + "?maxWidth=" + bound + "&maxHeight=" + bound;
}

value resolved(const value& given, std::string_view key, const ScenarioContext& context);

value resolved(const object& record, std::string_view key, const ScenarioContext& context) {
    if (const auto shift = text(record, "$now"))
        return value(dateText(*shift, text(record, "at"), context.now));
    if (const auto name = text(record, "$picture")) return value(pictureURL(*name, key, context));
    if (const auto path = text(record, "$url")) return value(context.baseURL + std::string(*path));
    if (const auto unit = text(record, "$repeat")) return value(repeated(*unit, record));
    object result;
    for (const auto& member : record) result[member.key()] = resolved(member.value(), member.key(), context);
    return result;
}

value resolved(const value& given, std::string_view key, const ScenarioContext& context) {
    if (given.is_object()) return resolved(given.get_object(), key, context);
    if (!given.is_array()) return given;
    array result;
    for (const value& item : given.get_array()) result.push_back(resolved(item, key, context));
    return result;
}

TokenStanding standing(const object& file, std::string_view key) {
    const auto word = text(file, key);
    if (!word || *word == "valid") return TokenStanding::valid;
    if (*word == "refused") return TokenStanding::refused;
    throw Error("\"" + std::string(key) + "\" is neither \"valid\" nor \"refused\"");
}

array itemsOf(const object& file) {
    const value* items = file.if_contains("items");
    if (items == nullptr) return {};
    if (!items->is_array()) throw Error("\"items\" is not a list");
    array result;
    for (const value& item : items->get_array()) {
        if (!item.is_object()) throw Error("an item is not an object");
        result.push_back(selected(item.get_object()));
    }
    return result;
}

void refuseUnknownKeys(const object& file) {
    constexpr std::string_view known[] = {"description", "accessToken", "refreshToken", "items", "reply"};
    for (const auto& member : file) {
        if (std::find(std::begin(known), std::end(known), std::string_view(member.key())) ==
            std::end(known)) {
            throw Error("unknown key \"" + std::string(member.key()) + "\"");
        }
    }
}

std::filesystem::path pathOf(std::string_view nameOrFile, const std::filesystem::path& folder) {
    const bool isFile = nameOrFile.find_first_of("/.") != std::string_view::npos;
    return isFile ? std::filesystem::path(nameOrFile)
                  : folder / "scenarios" / (std::string(nameOrFile) + ".json");
}

value parsedFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    if (!stream) throw Error("cannot be read");
    boost::system::error_code error;
    value parsed = boost::json::parse(contents.str(), error);
    if (error) throw Error("is not JSON: " + error.message());
    return parsed;
}

}  // namespace

value resolved(const value& given, const ScenarioContext& context) {
    return resolved(given, {}, context);
}

Scenario Scenario::load(std::string_view nameOrFile, const std::filesystem::path& folder) {
    const std::filesystem::path path = pathOf(nameOrFile, folder);
    try {
        const value parsed = parsedFile(path);
        if (!parsed.is_object()) throw Error("is not a JSON object");
        const object& file = parsed.get_object();
        refuseUnknownKeys(file);
        Scenario scenario{.name = path.stem().string(),
                          .accessToken = standing(file, "accessToken"),
                          .refreshToken = standing(file, "refreshToken"),
                          .items = itemsOf(file)};
        if (const value* reply = file.if_contains("reply")) scenario.reply = *reply;
        const ScenarioContext trial{.now = {}, .baseURL = {}, .maximumImageSize = 1};
        resolved(scenario.items, trial);
        if (scenario.reply) resolved(*scenario.reply, trial);
        return scenario;
    } catch (const Error& error) {
        throw Error("scenario " + path.string() + ": " + error.what());
    }
}

array Scenario::page(std::size_t requestIndex, const ScenarioContext& context) const {
    const std::size_t pages = std::max<std::size_t>(1, (items.size() + pageLength - 1) / pageLength);
    const std::size_t first = requestIndex % pages * pageLength;
    array result;
    for (std::size_t index = first; index < std::min(first + pageLength, items.size()); ++index) {
        result.push_back(resolved(items[index], context));
    }
    return result;
}

}  // namespace sandbox
