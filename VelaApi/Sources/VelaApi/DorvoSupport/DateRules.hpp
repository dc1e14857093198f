// SPDX-License-Identifier: Apache-2.0

#pragma once

// How every date of this client travels: "yyyy-MM-dd'T'HH:mm:ssZ". The two rules are not each other's
// inverse. Safe from any thread.

#include "platform/Date/Date.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

/// The instant read, moved back by the device's offset from GMT at that instant. A text of another form is
/// the current time; a value that is no string throws platform::DecodingError.
platform::Date decodedDate(const platform::Decoder& decoder);

/// The instant as the device's zone shows it, without any shift.
void encodeDate(platform::Date date, platform::Encoder& encoder);

}  // namespace VelaApi
