// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/DiagnosisCoding.hpp"

#include <string>

#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/protocol/OutcomeCoding.hpp"

namespace host {

namespace {

const boost::json::value& requiredMember(const boost::json::object& object, const char* key) {
    const auto* value = object.if_contains(key);
    if (!value) throw ProtocolError(std::string("a diagnosis has no ") + key);
    return *value;
}

std::string requiredText(const boost::json::object& object, const char* key) {
    requiredMember(object, key);
    return std::string(memberText(object, key, ""));
}

bool requiredTruth(const boost::json::object& object, const char* key) {
    const auto& value = requiredMember(object, key);
    if (!value.is_bool()) throw ProtocolError(std::string(key) + " must be true or false");
    return value.get_bool();
}

std::optional<int> statusIn(const boost::json::object& object) {
    const auto& value = requiredMember(object, "serverStatus");
    if (value.is_null()) return std::nullopt;
    boost::system::error_code error;
    const int status = value.to_number<int>(error);
    if (error) throw ProtocolError("serverStatus must be a whole number");
    return status;
}

}  // namespace

boost::json::object diagnosisObject(const widget::Diagnosis& diagnosis) {
    const auto status = diagnosis.serverStatus;
    return {{"bundle", diagnosis.bundle},
            {"credentials", credentialsObject(diagnosis.credentials)},
            {"isBundleWhole", diagnosis.isBundleWhole},
            {"isConnectionInsecure", diagnosis.isConnectionInsecure},
            {"keychain", diagnosis.keychain},
            {"serverAddress", diagnosis.serverAddress},
            {"serverFault", diagnosis.serverFault},
            {"serverStatus", status ? boost::json::value(*status) : boost::json::value(nullptr)},
            {"suite", diagnosis.suite}};
}

widget::Diagnosis diagnosisFromValue(const boost::json::value& value) {
    if (!value.is_object()) throw ProtocolError("a diagnosis must be an object");
    const auto& object = value.get_object();
    return {.credentials = credentialsFromValue(requiredMember(object, "credentials")),
            .keychain = requiredText(object, "keychain"),
            .serverAddress = requiredText(object, "serverAddress"),
            .serverStatus = statusIn(object),
            .serverFault = requiredText(object, "serverFault"),
            .isConnectionInsecure = requiredTruth(object, "isConnectionInsecure"),
            .bundle = requiredText(object, "bundle"),
            .isBundleWhole = requiredTruth(object, "isBundleWhole"),
            .suite = requiredText(object, "suite")};
}

}  // namespace host
