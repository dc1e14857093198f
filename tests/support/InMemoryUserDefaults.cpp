// SPDX-License-Identifier: Apache-2.0

#include "tests/support/InMemoryUserDefaults.hpp"

#include <boost/json/value.hpp>

namespace platform::testing {
namespace {

class Replacement : public UserDefaultsReplacement {
  public:
    Replacement(UserDefaults& suite, std::string_view key, std::optional<boost::json::value> value)
        : suite_(suite), key_(key), former_(suite.objectForKey(key)), value_(std::move(value)) {}
    ~Replacement() override {
        if (!isCommitted_) set(former_);
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void withdraw() override { set(std::nullopt); }
    void commit() override {
        set(value_);
        isCommitted_ = true;
    }

  private:
    void set(const std::optional<boost::json::value>& value) {
        if (value)
            suite_.setObject(key_, *value);
        else
            suite_.removeObject(key_);
    }

    UserDefaults& suite_;
    std::string key_;
    std::optional<boost::json::value> former_;
    std::optional<boost::json::value> value_;
    bool isCommitted_ = false;
};

}  // namespace

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

std::unique_ptr<UserDefaultsReplacement> InMemoryUserDefaults::prepareReplacement(
    std::string_view key, const std::optional<boost::json::value>& value) {
    return std::make_unique<Replacement>(*this, key, value);
}

}  // namespace platform::testing
