// SPDX-License-Identifier: Apache-2.0

#pragma once

// What becomes of a live host's files when its person signs out, or another signs in, and the host does not
// see to it.

#include <functional>
#include <string_view>

namespace host {

/// Removes them where the host was killed, and where it does not answer, since it is stopped or hangs: it
/// loses its place, and is told to go on, so that it finds that out and ends. One that answers knows by
/// itself what is stored. `notice` takes words for the person. Waits 300 ms for one that may be about to end,
/// and for an answer, unless it is stopped, 5 s in all. Nothing is done where there is no place for a host.
/// Throws HostPlaceError where something cannot be removed.
void forgetInPlaceOfHost(const std::function<void(std::string_view)>& notice);

}  // namespace host
