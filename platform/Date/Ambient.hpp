// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a process takes from its surroundings without being told: the time, the zone, the locale, the person's
// languages. The one seam through which tests replace them. Reading is safe from any thread; an override is
// for tests and is not to be made while other threads read.

#include <string>
#include <vector>

#include "platform/Date/Date.hpp"

namespace platform {

class Ambient {
  public:
    virtual ~Ambient() = default;

    virtual Date now() const = 0;
    /// The offset from GMT in force at `date`, in seconds, positive east of Greenwich.
    virtual int secondsFromGMT(Date date) const = 0;
    /// An ICU locale identifier, such as "en_GB"; "en_US_POSIX" for C and POSIX. ICU has words for it.
    virtual std::string localeIdentifier() const = 0;
    /// Language tags in order of preference, such as "en-GB"; empty when there is none.
    virtual std::vector<std::string> preferredLanguages() const = 0;

    /// The system's own: the real-time clock, the zone as the C library has it, LC_ALL/LC_TIME/LANG for the
    /// locale, LANGUAGE else LC_ALL/LC_MESSAGES/LANG for the languages. A change of the system zone is seen
    /// within a minute. A locale without words gives way to the first preferred language that has some, at
    /// last to English; the region stays.
    static const Ambient& system();
    /// What the process uses: the system's, unless an override is in force.
    static const Ambient& current();

    /// Puts `ambient` in force for its own lifetime. `ambient` must outlive it.
    class Override {
      public:
        explicit Override(const Ambient& ambient);
        ~Override();
        Override(const Override&) = delete;
        Override& operator=(const Override&) = delete;

      private:
        const Ambient* previous_;
    };
};

}  // namespace platform
