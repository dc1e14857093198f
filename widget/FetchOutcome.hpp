// SPDX-License-Identifier: Apache-2.0

#pragma once

// How the fetch for a timeline went, as a host is told of it. Plain values.

#include "server/FetchOutcome.hpp"

namespace widget {

using server::CredentialReport;
using server::CredentialState;
using server::FetchOutcome;
using server::ServerContact;

}  // namespace widget
