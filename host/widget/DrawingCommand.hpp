// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget render`: draws an entry in one or several families and schemes and writes the pictures.

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/protocol/ExtensionRequest.hpp"
#include "host/widget/ExtensionProcess.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

/// To a file, whole or not at all; "-" is standard output. Throws std::system_error.
void writeDrawing(const std::filesystem::path& path, const std::string& bytes);

struct DrawingCommand {
    /// Empty: every family that the widget offers.
    std::vector<platform::WidgetFamily> families;
    std::vector<drawing::ColorScheme> colorSchemes;
    drawing::Appearance appearance = {};
    /// A file with an entry, "-" for standard input, "placeholder", or nothing for a fresh snapshot.
    std::string entry = {};
    std::optional<drawing::Size> size = std::nullopt;
    double scale = 3;
    widget::DrawingFormat format = widget::DrawingFormat::png;
    std::optional<std::string> tint = std::nullopt;
    /// How long the command may wait for pictures, all its drawings together; a placeholder stands for each
    /// that has not come by then.
    std::chrono::milliseconds pictureBudget = std::chrono::seconds(20);
    /// A file, "-" for standard output; or a folder, which is made, for files named FAMILY-SCHEME.FORMAT.
    std::filesystem::path output = {};
    enum class OutputKind { file, folder } outputKind = OutputKind::file;
    ExtensionSettings extension = {};

    /// Takes each picture; writes it to its path, whole or not at all, unless it is told otherwise.
    std::function<void(const std::filesystem::path& path, const std::string& bytes)> deliver = writeDrawing;

    /// The exit status: 0, or 1 with a line on standard error.
    int run() const;
};

/// "WxH" in points; nothing for any other text.
std::optional<drawing::Size> sizeFromText(const std::string& text);

}  // namespace host
