#include "host/DrawingCommand.hpp"

#include <unistd.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/io_context.hpp>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "host/EntryCoding.hpp"
#include "host/ExtensionProcess.hpp"
#include "host/OneShotHost.hpp"
#include "host/Streams.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace host {

namespace asio = boost::asio;
using namespace asio::experimental::awaitable_operators;

namespace {

constexpr std::size_t maximumEntrySize = std::size_t{4} << 20;

std::string wholeInput(std::istream& stream, const std::string& name) {
    auto text = readAll(stream, maximumEntrySize);
    if (!text) throw EntryCodingError(name + " is too long for an entry");
    return *std::move(text);
}

boost::json::object savedEntry(const std::string& source) {
    std::string text;
    if (source == "-") {
        text = wholeInput(std::cin, "standard input");
    } else {
        std::ifstream stream(source, std::ios::binary);
        if (!stream) throw std::system_error(errno, std::generic_category(), "cannot read " + source);
        text = wholeInput(stream, source);
    }
    // Read once here, so that a mistake in it is told before anything is started.
    return entryObject(entryFromValue(platform::JSONSerialization::JSONObjectWithData(text)));
}

/// Draws with one extension after another: one that hangs over a picture is replaced.
class Drawer {
  public:
    explicit Drawer(const DrawingCommand& command) : command_(command) {}

    asio::awaitable<void> drawAll() {
        co_await startExtension();
        const auto families = co_await chosenFamilies();
        const auto entry = co_await chosenEntry(families.front());
        for (const auto family : families)
            for (const auto colorScheme : command_.colorSchemes) {
                const auto bytes = co_await drawn(request(entry, family, colorScheme));
                command_.deliver(path(family, colorScheme), bytes);
            }
    }

    asio::awaitable<void> end() {
        if (extension_) co_await extension_->end();
    }

  private:
    asio::awaitable<void> startExtension() {
        extension_ = ExtensionProcess::start(co_await asio::this_coro::executor,
                                             ExtensionProcess::defaultExecutable(), printExtensionLine);
    }

    asio::awaitable<std::vector<platform::WidgetFamily>> chosenFamilies() {
        if (!command_.families.empty()) co_return command_.families;
        const ExtensionRequest ask = {.kind = ExtensionRequest::Kind::declaration};
        const auto reply = co_await extension_->ask(ask);
        std::vector<platform::WidgetFamily> offered;
        for (const auto& name : reply.body.at("declaration").at("supportedFamilies").as_array())
            if (const auto family = platform::widgetFamily(name.as_string())) offered.push_back(*family);
        co_return offered;
    }

    asio::awaitable<boost::json::object> chosenEntry(platform::WidgetFamily family) {
        const bool isPlaceholder = command_.entry == "placeholder";
        if (!isPlaceholder && !command_.entry.empty()) co_return savedEntry(command_.entry);
        const ExtensionRequest ask = {
            .kind = isPlaceholder ? ExtensionRequest::Kind::placeholder : ExtensionRequest::Kind::snapshot,
            .family = family};
        const auto reply = co_await extension_->ask(ask);
        co_return reply.body.at("entry").as_object();
    }

    ExtensionRequest request(const boost::json::object& entry, platform::WidgetFamily family,
                             platform::ColorScheme colorScheme) const {
        DrawingRequest drawing = {.entry = entry};
        drawing.colorScheme = colorScheme;
        drawing.size = command_.size;
        drawing.scale = command_.scale;
        drawing.format = command_.format;
        drawing.tint = command_.tint;
        drawing.pictures = pictures_;
        return {.kind = ExtensionRequest::Kind::render, .family = family, .drawing = std::move(drawing)};
    }

    asio::awaitable<std::string> drawn(ExtensionRequest drawing) {
        if (drawing.drawing->pictures == PictureReading::allowed) {
            asio::steady_timer budget(co_await asio::this_coro::executor, command_.pictureBudget);
            auto first = co_await (extension_->ask(drawing) || budget.async_wait(asio::use_awaitable));
            if (first.index() == 0) co_return std::move(std::get<0>(first).attachment);
            // Some picture never comes. A new extension draws without any, now and for the rest of this
            // command.
            printError("vela-widget", "the pictures took too long; drawing without them");
            co_await extension_->end(std::chrono::seconds(0));
            co_await startExtension();
            pictures_ = PictureReading::placeholdersOnly;
            drawing.drawing->pictures = pictures_;
        }
        auto reply = co_await extension_->ask(std::move(drawing));
        co_return std::move(reply.attachment);
    }

    std::filesystem::path path(platform::WidgetFamily family, platform::ColorScheme colorScheme) const {
        if (command_.outputKind == DrawingCommand::OutputKind::file) return command_.output;
        return command_.output / (std::string(platform::description(family)) + "-" +
                                  std::string(name(colorScheme)) + "." + std::string(name(command_.format)));
    }

    const DrawingCommand& command_;
    std::shared_ptr<ExtensionProcess> extension_;
    PictureReading pictures_ = PictureReading::allowed;
};

asio::awaitable<void> drawOrReport(const DrawingCommand& command, int& status) {
    Drawer drawer(command);
    std::string failure;
    try {
        co_await drawer.drawAll();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    co_await drawer.end();
    if (failure.empty()) co_return;
    printError("vela-widget", failure);
    status = 1;
}

}  // namespace

void writeDrawing(const std::filesystem::path& path, const std::string& bytes) {
    if (path == "-") return writeToStandardOutput(bytes);
    if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
        std::ofstream stream(path, std::ios::binary);
        if (stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) return;
        throw std::system_error(errno, std::generic_category(), "cannot write " + path.string());
    }
    auto temporary = path;
    temporary += "." + std::to_string(::getpid()) + ".tmp";
    try {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        if (!stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
            throw std::system_error(errno, std::generic_category(), "cannot write " + path.string());
        std::filesystem::rename(temporary, path);
    } catch (const std::exception&) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

int DrawingCommand::run() const {
    int status = 0;
    if (size && !DrawingRequest::isWithinBounds(*size, scale)) {
        printError("vela-widget", "that size at that scale is more than 16 million pixels");
        return 2;
    }
    if (outputKind == OutputKind::folder) {
        std::error_code error;
        std::filesystem::create_directories(output, error);
        if (error) {
            printError("vela-widget", "cannot make the folder " + output.string() + ": " + error.message());
            return 1;
        }
    }
    asio::io_context context(1);
    asio::co_spawn(context, drawOrReport(*this, status), asio::detached);
    context.run();
    return status;
}

std::optional<platform::Size> sizeFromText(const std::string& text) {
    platform::Size size;
    const auto* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc() || height.ptr != end) return std::nullopt;
    if (!DrawingRequest::isWithinBounds(size, 1)) return std::nullopt;
    return size;
}

}  // namespace host
