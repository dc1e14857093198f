// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/KeychainFailure.hpp"

#include <exception>
#include <mutex>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

thread_local std::string latestFault;

// A refused keychain is asked again and again; the log need hear of it once.
void logOnce(const std::string& fault) {
    static std::mutex mutex;
    static std::string logged;
    const std::lock_guard lock(mutex);
    if (fault == logged) return;
    logged = fault;
    Logger::standard().log(LogLevel::error, "%s", {{fault}});
}

OSStatus failed(OSStatus status, const std::string& fault) {
    latestFault = fault;
    if (!fault.empty()) logOnce(fault);
    return status;
}

}  // namespace

OSStatus keychainStatusOf(const std::function<OSStatus()>& work) {
    try {
        const OSStatus status = work();
        return status == errSecSuccess ? status : failed(status, {});
    } catch (const KeychainFailure& failure) {
        return failed(failure.status, failure.fault);
    } catch (const FileError& error) {
        return failed(errSecIO, error.what());
    } catch (const std::exception&) {
        return failed(errSecIO, {});
    }
}

const std::string& SecItemFault() {
    return latestFault;
}

}  // namespace platform
