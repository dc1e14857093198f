// SPDX-License-Identifier: Apache-2.0

#pragma once

// How an installation stands, as JSON: what the extension tells a host that asks what to mend. Pure
// functions, safe from any thread.

#include <boost/json/value.hpp>

#include "widget/Diagnosis.hpp"

namespace host {

/// {"bundle", "credentials", "isBundleWhole", "isConnectionInsecure", "keychain", "serverAddress",
/// "serverFault", "serverStatus", "suite"}.
boost::json::object diagnosisObject(const widget::Diagnosis& diagnosis);
/// Throws ProtocolError.
widget::Diagnosis diagnosisFromValue(const boost::json::value& value);

}  // namespace host
