// SPDX-License-Identifier: Apache-2.0

#include "host/widget/DrawingCommand.hpp"

#include <unistd.h>

#include <algorithm>
#include <boost/asio/this_coro.hpp>
#include <charconv>
#include <cmath>
#include <fstream>
#include <system_error>

#include "host/protocol/EntryCoding.hpp"
#include "host/reader/TerminalText.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "host/widget/ExtensionSession.hpp"
#include "host/widget/OneShotHost.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;
using widget::DrawingFormat;
using widget::DrawingRequest;

namespace {

constexpr std::size_t maximumEntrySize = std::size_t{4} << 20;

widget::SimpleEntry savedEntry(const std::string& source, const platform::Deadline& deadline) {
    const auto text = source == "-"
                          ? platform::readAll({.descriptor = STDIN_FILENO, .name = "standard input"},
                                              maximumEntrySize, deadline)
                          : platform::readFile(source, maximumEntrySize, deadline);
    const auto failure = [&](const std::exception& error) {
        return EntryCodingError((source == "-" ? "standard input" : source) + ": " + error.what());
    };
    try {
        return entryFromValue(platform::JSONSerialization::JSONObjectWithData(text));
    } catch (const platform::JSONError& error) {
        throw failure(error);
    } catch (const EntryCodingError& error) {
        throw failure(error);
    }
}

/// Draws what the command asks for, within its time.
class Drawer {
  public:
    Drawer(const asio::any_io_executor& executor, const DrawingCommand& command)
        : command_(command), options_(options(command)), session_(executor, options_) {}

    asio::awaitable<void> drawAll() {
        // Read before anything is started, as a person may still be typing it.
        std::optional<widget::SimpleEntry> entry;
        if (!command_.entry.empty() && command_.entry != "placeholder")
            entry = savedEntry(command_.entry, *options_.deadline);
        const auto families = co_await chosenFamilies();
        if (!entry) entry = co_await freshEntry(families.front());
        for (const auto family : families)
            for (const auto colorScheme : command_.colorSchemes) {
                const auto bytes = co_await session_.draw(request(*entry, family, colorScheme));
                command_.deliver(path(family, colorScheme), deliverable(bytes));
            }
    }

    asio::awaitable<void> end() { co_await session_.end(); }

  private:
    static ExtensionSession::Options options(const DrawingCommand& command) {
        auto options = ExtensionSession::Options::forCommand(command.extension);
        options.pictureBudget = command.pictureBudget;
        options.onOutputLine = printExtensionLine;
        options.onNotice = [](std::string_view notice) { platform::printError("vela-widget", notice); };
        return options;
    }

    asio::awaitable<std::vector<platform::WidgetFamily>> chosenFamilies() {
        if (!command_.families.empty()) co_return command_.families;
        const ExtensionRequest ask = {.kind = ExtensionRequest::Kind::declaration};
        const auto reply = co_await session_.ask(ask);
        std::vector<platform::WidgetFamily> offered;
        for (const auto& name : declarationIn(reply).supportedFamilies)
            if (const auto family = platform::widgetFamily(name)) offered.push_back(*family);
        if (offered.empty()) throw ExtensionError("the extension offers no family to draw");
        co_return offered;
    }

    asio::awaitable<widget::SimpleEntry> freshEntry(platform::WidgetFamily family) {
        const bool isPlaceholder = command_.entry == "placeholder";
        const ExtensionRequest ask = {
            .kind = isPlaceholder ? ExtensionRequest::Kind::placeholder : ExtensionRequest::Kind::snapshot,
            .family = family};
        const auto reply = co_await session_.ask(ask);
        co_return entryIn(reply);
    }

    DrawingRequest request(const widget::SimpleEntry& entry, platform::WidgetFamily family,
                           drawing::ColorScheme colorScheme) const {
        DrawingRequest drawing = {.entry = entry, .family = family};
        drawing.colorScheme = colorScheme;
        drawing.appearance = command_.appearance;
        drawing.size = command_.size;
        drawing.scale = command_.scale;
        drawing.format = command_.format;
        drawing.tint = command_.tint;
        return drawing;
    }

    /// Names in a drawing come from a server; in a terminal nothing of them is to be obeyed.
    std::string deliverable(const std::string& bytes) const {
        switch (command_.format) {
            case DrawingFormat::png: return bytes;
            case DrawingFormat::svg: return terminalSafeXML(bytes);
            case DrawingFormat::tree: return terminalSafeJSON(bytes);
            case DrawingFormat::text: return terminalSafeLines(bytes);
        }
        return bytes;
    }

    std::filesystem::path path(platform::WidgetFamily family, drawing::ColorScheme colorScheme) const {
        if (command_.outputKind == DrawingCommand::OutputKind::file) return command_.output;
        return command_.output /
               (std::string(platform::description(family)) + "-" + std::string(widget::name(colorScheme)) +
                "." + std::string(name(command_.format)));
    }

    const DrawingCommand& command_;
    const ExtensionSession::Options options_;
    ExtensionSession session_;
};

asio::awaitable<int> drawOrReport(const DrawingCommand& command) {
    Drawer drawer(co_await asio::this_coro::executor, command);
    int status = 1;
    try {
        co_await drawer.drawAll();
        status = 0;
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
    }
    co_await drawer.end();
    co_return status;
}

}  // namespace

void writeDrawing(const std::filesystem::path& path, const std::string& bytes) {
    if (path == "-") return writeToStandardOutput(bytes);
    const auto failure = [&](int error) {
        return std::system_error(error, std::generic_category(), "cannot write " + path.string());
    };
    std::error_code error;
    const auto found = std::filesystem::status(path, error);
    if (std::filesystem::exists(found) && !std::filesystem::is_regular_file(found)) {
        std::ofstream stream(path, std::ios::binary);
        if (stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) return;
        throw failure(errno);
    }
    auto temporary = path;
    temporary += "." + std::to_string(::getpid()) + ".tmp";
    try {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        if (!stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
            throw failure(errno);
        std::filesystem::rename(temporary, path, error);
        if (error) throw failure(error.value());
    } catch (const std::exception&) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

namespace {

/// Why nothing is drawn at that size; nothing where it holds the words of every family.
std::optional<std::string> refusalOf(drawing::Size size, std::vector<platform::WidgetFamily> families) {
    if (families.empty())
        families.assign(platform::allWidgetFamilies.begin(), platform::allWidgetFamilies.end());
    for (const platform::WidgetFamily family : families) {
        const drawing::Size least = DrawingRequest::smallestSize(family);
        if (size.width >= least.width && size.height >= least.height) continue;
        return std::string(platform::description(family)) + " needs at least " +
               std::to_string(std::lround(least.width)) + "x" + std::to_string(std::lround(least.height)) +
               " points to show its words";
    }
    return std::nullopt;
}

}  // namespace

int DrawingCommand::run() const {
    if (size && !DrawingRequest::isWithinBounds(*size, scale)) {
        platform::printError("vela-widget", "that size at that scale is more than 16 million pixels");
        return 2;
    }
    if (const std::optional<std::string> refusal = size ? refusalOf(*size, families) : std::nullopt) {
        platform::printError("vela-widget", *refusal);
        return 2;
    }
    if (outputKind == OutputKind::folder && output == "-") {
        platform::printError("vela-widget", "several drawings need a folder; standard output takes one");
        return 2;
    }
    if (outputKind == OutputKind::folder) {
        std::error_code error;
        std::filesystem::create_directories(output, error);
        if (error) {
            platform::printError("vela-widget",
                                 "cannot make the folder " + output.string() + ": " + error.message());
            return 1;
        }
    }
    if (format == DrawingFormat::png && output == "-" && ::isatty(STDOUT_FILENO) != 0) {
        platform::printError("vela-widget", "a terminal cannot show a PNG file; try show --image, or a file");
        return 2;
    }
    try {
        return platform::runToEnd(drawOrReport(*this));
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

std::optional<drawing::Size> sizeFromText(const std::string& text) {
    drawing::Size size;
    const auto* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc() || height.ptr != end) return std::nullopt;
    if (!DrawingRequest::isWithinBounds(size, 1)) return std::nullopt;
    return size;
}

}  // namespace host
