#include "tests/support/InMemoryUserDefaults.hpp"

#include <boost/json/value.hpp>

namespace platform::testing {

std::optional<boost::json::value> InMemoryUserDefaults::objectForKey(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const boost::json::value* value = values_.if_contains(key);
    return value ? std::optional(*value) : std::nullopt;
}

void InMemoryUserDefaults::setObject(std::string_view key, const boost::json::value& value) {
    const std::lock_guard lock(mutex_);
    values_.insert_or_assign(key, value);
}

void InMemoryUserDefaults::removeObject(std::string_view key) {
    const std::lock_guard lock(mutex_);
    values_.erase(key);
}

}  // namespace platform::testing
