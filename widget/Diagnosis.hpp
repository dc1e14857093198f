// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a person's installation stands, as a host is told of it. Plain values.

#include "server/Diagnosis.hpp"

namespace widget {

using server::Diagnosis;

}  // namespace widget
