// SPDX-License-Identifier: Apache-2.0

#pragma once

// A suite of typed values that programs of one person share. Values are read afresh at every access; a write
// replaces the whole suite at once, and writers in different processes lose nothing of each other's.
// Safe from any thread.

#include <boost/json/value.hpp>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// `what()` says what could not be done and why, and never holds a value.
class UserDefaultsError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A value's replacement in two steps, for who changes something else between them. All that can fail for
/// want of room has been done when there is one, and until its end nobody else writes to the suite. Throws
/// UserDefaultsError.
class UserDefaultsReplacement {
  public:
    /// Without a commit the former value is there again.
    virtual ~UserDefaultsReplacement() = default;
    /// From now on there is no value.
    virtual void withdraw() = 0;
    /// From now on there is the new one.
    virtual void commit() = 0;
};

/// The key-value store. A seam: `tests/support` has one in memory.
class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// The suite's file in the data folder, `<data home>/<suite>/preferences.json`. Throws UserDefaultsError
    /// when the folder cannot be used: no data home, not a folder, no permission, a suite name that is no
    /// file name, or a folder that another user could have changed (platform/Files/TrustedFolder). The folder
    /// is made with mode 0700 when something is first written, not before.
    static std::unique_ptr<UserDefaults> suite(std::string_view suiteName);
    static std::unique_ptr<UserDefaults> suite(std::string_view suiteName,
                                               const std::filesystem::path& dataHome);

    /// The value as typed; nothing when absent. A missing file is an empty suite; a file that is not a JSON
    /// object, is over 4 MiB, cannot be read or could have been changed by another user is logged once and
    /// reads as empty.
    virtual std::optional<boost::json::value> objectForKey(std::string_view key) const = 0;
    /// Text for text, the decimal text for a number, nothing for any other type.
    std::optional<std::string> stringForKey(std::string_view key) const;

    /// Throws UserDefaultsError, also when the stored file is damaged or not trusted: what was stored stays
    /// stored.
    virtual void setObject(std::string_view key, const boost::json::value& value) = 0;
    /// Removing an absent key does nothing.
    virtual void removeObject(std::string_view key) = 0;

    /// Nothing stands for removing the value. Throws UserDefaultsError, and nothing is changed then.
    virtual std::unique_ptr<UserDefaultsReplacement> prepareReplacement(
        std::string_view key, const std::optional<boost::json::value>& value) = 0;

    /// Throws UserDefaultsError where the suite reads as empty because its file or folder cannot be used.
    virtual void requireReadable() const {}
};

}  // namespace platform
