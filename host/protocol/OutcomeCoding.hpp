// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a fetch went and what is stored of a sign-in, as JSON: what the extension tells its host beside a
// timeline. Pure functions, safe from any thread.

#include <boost/json/value.hpp>

#include "widget/FetchOutcome.hpp"

namespace host {

/// {"account", "state", "tokens"}.
boost::json::object credentialsObject(const widget::CredentialReport& report);
/// {"credentials", "renewed", "server"}.
boost::json::object outcomeObject(const widget::FetchOutcome& outcome);

/// Each throws ProtocolError.
widget::CredentialReport credentialsFromValue(const boost::json::value& value);
widget::FetchOutcome outcomeFromValue(const boost::json::value& value);

}  // namespace host
