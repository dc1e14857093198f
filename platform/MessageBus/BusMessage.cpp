// SPDX-License-Identifier: Apache-2.0

#include "platform/MessageBus/BusMessage.hpp"

#include <optional>
#include <type_traits>

#include "platform/MessageBus/BusCoding.hpp"

namespace platform {
namespace {

const BusLibrary& bus() {
    return *BusLibrary::shared();
}

/// Appends to a message; false as soon as something was refused.
class Appender {
  public:
    explicit Appender(sd_bus_message* message) : message_(message) {}

    bool operator()(std::monostate) const { return false; }
    bool operator()(bool value) const {
        const int wide = value ? 1 : 0;
        return basic('b', &wide);
    }
    bool operator()(std::uint8_t value) const { return basic('y', &value); }
    bool operator()(std::int32_t value) const { return basic('i', &value); }
    bool operator()(std::uint32_t value) const { return basic('u', &value); }
    bool operator()(std::uint64_t value) const { return basic('t', &value); }
    bool operator()(const std::string& value) const { return basic('s', value.c_str()); }
    bool operator()(const std::vector<std::string>& values) const {
        return within('a', "s", [&] {
            for (const auto& value : values)
                if (!(*this)(value)) return false;
            return true;
        });
    }
    bool operator()(const std::map<std::string, std::string>& table) const {
        return within('a', "{ss}", [&] {
            for (const auto& [key, value] : table)
                if (!within('e', "ss",
                            [&, &key = key, &value = value] { return (*this)(key) && (*this)(value); }))
                    return false;
            return true;
        });
    }
    bool operator()(const BusVariants& table) const {
        return within('a', "{sv}", [&] {
            for (const auto& [key, value] : table)
                if (!within('e', "sv",
                            [&, &key = key, &value = value] { return (*this)(key) && wrapped(value); }))
                    return false;
            return true;
        });
    }

  private:
    static const char* typeOf(const BusVariants::mapped_type& value) {
        constexpr const char* types[] = {"b", "y", "u", "s"};
        return types[value.index()];
    }
    bool wrapped(const BusVariants::mapped_type& value) const {
        return within('v', typeOf(value), [&] { return std::visit(*this, value); });
    }
    bool basic(char type, const void* value) const {
        return bus().sd_bus_message_append_basic(message_, type, value) >= 0;
    }
    template <typename Contents>
    bool within(char type, const char* contents, Contents append) const {
        return bus().sd_bus_message_open_container(message_, type, contents) >= 0 && append() &&
               bus().sd_bus_message_close_container(message_) >= 0;
    }

    sd_bus_message* message_;
};

std::string textOf(const char* text) {
    return text ? text : "";
}

bool isTextType(char type) {
    return type == SD_BUS_TYPE_STRING || type == SD_BUS_TYPE_OBJECT_PATH || type == SD_BUS_TYPE_SIGNATURE;
}

/// Reads what comes next, if it is of the type that is announced. A message that breaks its own promise ends
/// there.
template <typename Wire, typename Value = Wire>
std::optional<BusValue> readBasic(sd_bus_message* message, char type) {
    Wire value = {};
    if (bus().sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
    if constexpr (std::is_same_v<Wire, const char*>)
        return textOf(value);
    else
        return static_cast<Value>(value);
}

std::optional<BusValue> readTexts(sd_bus_message* message, const char* contents) {
    const char type = contents[0];
    std::vector<std::string> texts;
    if (bus().sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, contents) <= 0) return std::nullopt;
    const char* text = nullptr;
    while (bus().sd_bus_message_read_basic(message, type, &text) > 0) texts.emplace_back(textOf(text));
    if (bus().sd_bus_message_exit_container(message) < 0) return std::nullopt;
    return texts;
}

std::optional<BusValue> skipValue(sd_bus_message* message) {
    if (bus().sd_bus_message_skip(message, nullptr) < 0) return std::nullopt;
    return std::monostate();
}

std::optional<BusValue> readPlain(sd_bus_message* message, char type, const char* contents) {
    if (isTextType(type)) return readBasic<const char*>(message, type);
    switch (type) {
        case SD_BUS_TYPE_UINT32: return readBasic<std::uint32_t>(message, type);
        case SD_BUS_TYPE_UINT64: return readBasic<std::uint64_t>(message, type);
        case SD_BUS_TYPE_INT32: return readBasic<std::int32_t>(message, type);
        case SD_BUS_TYPE_BOOLEAN: return readBasic<int, bool>(message, type);
        case SD_BUS_TYPE_ARRAY:
            if (isTextType(contents[0]) && contents[1] == '\0') return readTexts(message, contents);
            return skipValue(message);
        default: return skipValue(message);
    }
}

std::optional<BusValue> readNext(sd_bus_message* message) {
    char type = 0;
    const char* contents = nullptr;
    if (bus().sd_bus_message_peek_type(message, &type, &contents) <= 0) return std::nullopt;
    if (type != SD_BUS_TYPE_VARIANT) return readPlain(message, type, contents);
    // A variant within a variant is nothing that any service of ours says: it is passed over.
    const std::string within = textOf(contents);
    if (bus().sd_bus_message_enter_container(message, type, within.c_str()) <= 0) return std::nullopt;
    if (bus().sd_bus_message_peek_type(message, &type, &contents) <= 0) return std::nullopt;
    auto value = readPlain(message, type, contents);
    if (!value || bus().sd_bus_message_exit_container(message) < 0) return std::nullopt;
    return value;
}

}  // namespace

OwnedBusMessage encoded(sd_bus* connection, const BusCall& call) {
    sd_bus_message* made = nullptr;
    if (bus().sd_bus_message_new_method_call(connection, &made, call.destination.c_str(), call.path.c_str(),
                                             call.interface.c_str(), call.member.c_str()) < 0)
        return nullptr;
    OwnedBusMessage message(made);
    bus().sd_bus_message_set_auto_start(made, call.ifAbsent == BusCall::IfAbsent::start);
    for (const auto& argument : call.arguments)
        if (!std::visit(Appender(made), argument)) return nullptr;
    return message;
}

BusMessage decoded(sd_bus_message* message) {
    const sd_bus_error* error = bus().sd_bus_message_get_error(message);
    BusMessage result = {.sender = textOf(bus().sd_bus_message_get_sender(message)),
                         .path = textOf(bus().sd_bus_message_get_path(message)),
                         .interface = textOf(bus().sd_bus_message_get_interface(message)),
                         .member = textOf(bus().sd_bus_message_get_member(message)),
                         .error = error ? textOf(error->name) : ""};
    while (auto value = readNext(message)) result.arguments.push_back(*std::move(value));
    return result;
}

}  // namespace platform
