// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget doctor`: looks at all that the widget needs, and says what to mend.

#include <filesystem>
#include <string>
#include <vector>

#include "host/widget/ExtensionProcess.hpp"

namespace host {

struct DoctorCommand {
    enum class Output { text, json } output = Output::text;
    ExtensionSettings extension = {};

    /// The exit status: 0, or 1 where something is a problem.
    int run() const;
};

/// The packages of packaging/debian-packages-run.txt of whose fonts none lies in `folders` or below.
std::vector<std::string> missingFontPackages(const std::vector<std::filesystem::path>& folders);

/// Why nothing can be stored in the folder, or in the nearest above it, where it would be made; empty where
/// something can.
std::string faultOfStoringIn(std::filesystem::path folder);

}  // namespace host
