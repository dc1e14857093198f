// SPDX-License-Identifier: Apache-2.0

#pragma once

// A person who does not exist, for those who only look.

#include <optional>

#include "host/widget/Tour/Guide.hpp"
#include "host/widget/Tour/SampleFolder.hpp"
#include "platform/ProcessInfo/ChildProgram.hpp"

namespace host {

/// Signed in at a server of her own, which lives in a folder with all that is hers; gone with the object. For
/// one thread.
class SamplePerson {
  public:
    /// Takes up to ten seconds. Throws std::runtime_error, or TourInterrupted.
    explicit SamplePerson(const Guide& guide);
    SamplePerson(const SamplePerson&) = delete;
    SamplePerson& operator=(const SamplePerson&) = delete;

    /// What a program needs to be hers.
    const ProgramVariables& variables() const { return variables_; }

  private:
    void settle(const Guide& guide);
    void signIn() const;

    // Goes last: what runs in it ends first.
    SampleFolder folder_;
    std::optional<platform::ChildProgram> sandbox_;
    ProgramVariables variables_;
};

}  // namespace host
