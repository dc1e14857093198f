// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Faults.hpp"

#include <zlib.h>

#include <string>
#include <string_view>

#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

constexpr std::string_view redirectedMark = "redirected=1";

/// Asks zlib for the gzip form in place of its own.
constexpr int gzipWindowBits = 15 + 16;

std::string gzipped(const std::string& plain) {
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipWindowBits, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw Error("zlib does not start");
    }
    std::string packed(deflateBound(&stream, plain.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
    stream.avail_in = static_cast<uInt>(plain.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

bool acceptsGzip(const Request& request) {
    return request.value("Accept-Encoding").value_or("").find("gzip") != std::string_view::npos;
}

bool isRedirected(const Request& request) {
    return request.target.find(redirectedMark) != std::string::npos;
}

std::string marked(const std::string& target) {
    return target + (target.find('?') == std::string::npos ? "?" : "&") + std::string(redirectedMark);
}

std::optional<std::string> redirectionTarget(const Request& request, Redirection redirection,
                                             std::string_view otherOrigin) {
    switch (redirection) {
        case Redirection::none: return std::nullopt;
        case Redirection::loop: return request.target;
        case Redirection::once:
            return isRedirected(request) ? std::nullopt : std::optional(marked(request.target));
        case Redirection::crossOrigin: return std::string(otherOrigin) + request.target;
    }
    return std::nullopt;
}

}  // namespace

bool touches(FaultScope scope, std::string_view path) {
    switch (scope) {
        case FaultScope::graphql: return path == "/graphql";
        case FaultScope::produce: return path == "/v1/produce";
        case FaultScope::pictures: return path.substr(0, 10) == "/pictures/";
        case FaultScope::all: return true;
    }
    return false;
}

std::optional<Response> redirected(const Request& request, const Faults& faults,
                                   std::string_view otherOrigin) {
    const auto target = redirectionTarget(request, faults.redirection, otherOrigin);
    if (!target) return std::nullopt;
    Response response{.status = faults.redirectionStatus, .contentType = "text/plain"};
    response.headers.push_back({"Location", *target});
    return response;
}

Response spoiled(Response response, const Request& request, const Faults& faults) {
    if (faults.status) response.status = *faults.status;
    response.manner = faults.manner == Manner::whole ? response.manner : faults.manner;
    if (response.manner == Manner::garbled) response.body = "\xff\xfe<html>\x01 not what was asked for {{[\"";
    response.body.append(faults.padding, ' ');
    if (faults.coding == ContentCoding::asAsked && acceptsGzip(request)) {
        response.body = gzipped(response.body);
        response.headers.push_back({"Content-Encoding", "gzip"});
    }
    return response;
}

}  // namespace sandbox
