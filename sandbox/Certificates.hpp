// SPDX-License-Identifier: Apache-2.0

#pragma once

// A certificate authority of one's own and a certificate of it for this machine, made anew for each sandbox.
// The keys never leave memory.

#include <string>

namespace sandbox {

/// All in PEM.
struct Certificates {
    std::string authority;
    std::string server;
    std::string serverKey;
    /// The name under which a folder of trusted certificates holds the authority, as in "5f4e3d2c.0".
    std::string hashedName;
};

/// For 127.0.0.1, ::1 and localhost, valid for a week. Throws Error.
Certificates madeCertificates();

}  // namespace sandbox
