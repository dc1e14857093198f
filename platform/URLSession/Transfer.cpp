// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/Transfer.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Text/ASCII.hpp"
#include "platform/URLSession/FieldName.hpp"
#include "platform/URLSession/Redirect.hpp"
#include "platform/URLSession/TLSPolicy.hpp"

namespace platform {
namespace {

// The headers of one exchange, interim replies and trailers included. Real ones have some fifty lines.
constexpr std::size_t maximumHeaderBytes = std::size_t{256} << 10;
constexpr std::size_t maximumHeaderLines = 1000;

// How often the longest reply may come over the wire for one reply to come of it. Chunks of one byte make six
// of one; what makes more of it (empty blocks, endless names of chunks) is no reply but an occupation.
constexpr std::uint64_t maximumWireShare = 8;

constexpr std::array errorCodes = {
    std::pair{CURLE_URL_MALFORMAT, URLErrorCode::unsupportedURL},
    std::pair{CURLE_COULDNT_RESOLVE_HOST, URLErrorCode::cannotFindHost},
    std::pair{CURLE_COULDNT_RESOLVE_PROXY, URLErrorCode::cannotFindHost},
    std::pair{CURLE_COULDNT_CONNECT, URLErrorCode::cannotConnectToHost},
    std::pair{CURLE_PROXY, URLErrorCode::cannotConnectToHost},
    std::pair{CURLE_SEND_ERROR, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_RECV_ERROR, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_GOT_NOTHING, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_PARTIAL_FILE, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_HTTP2, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_HTTP2_STREAM, URLErrorCode::networkConnectionLost},
    std::pair{CURLE_OPERATION_TIMEDOUT, URLErrorCode::timedOut},
    std::pair{CURLE_SSL_CONNECT_ERROR, URLErrorCode::secureConnectionFailed},
    std::pair{CURLE_PEER_FAILED_VERIFICATION, URLErrorCode::secureConnectionFailed},
    std::pair{CURLE_SSL_CACERT_BADFILE, URLErrorCode::secureConnectionFailed},
    std::pair{CURLE_SSL_CERTPROBLEM, URLErrorCode::secureConnectionFailed},
    std::pair{CURLE_SSL_CIPHER, URLErrorCode::secureConnectionFailed},
    std::pair{CURLE_SSL_ISSUER_ERROR, URLErrorCode::secureConnectionFailed},
    // What does not begin as HTTP/1 does; our own schemes are checked before.
    std::pair{CURLE_UNSUPPORTED_PROTOCOL, URLErrorCode::badServerResponse},
    std::pair{CURLE_WEIRD_SERVER_REPLY, URLErrorCode::badServerResponse},
    // What follows the end of what was packed; we ourselves refuse with errors of our own.
    std::pair{CURLE_WRITE_ERROR, URLErrorCode::cannotDecodeContent},
    std::pair{CURLE_BAD_CONTENT_ENCODING, URLErrorCode::cannotDecodeContent},
    std::pair{CURLE_FILESIZE_EXCEEDED, URLErrorCode::dataLengthExceedsMaximum},
};

bool isTokenCharacter(char character) {
    return isASCIIDigit(character) || isASCIILetter(character) ||
           std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isFieldValue(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

// Certificates are then read one by one as they are needed; the bundle is read and parsed whole.
bool isHashedFolder(const char* folder) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".0") return true;
    }
    return false;
}

struct TrustStore {
    std::optional<std::string> file;
    std::optional<std::string> folder;
};

// Nothing at all leaves libcurl's built-in bundle in force.
TrustStore trustStore() {
    TrustStore store = {.file = environmentVariable("SSL_CERT_FILE"),
                        .folder = environmentVariable("SSL_CERT_DIR")};
    constexpr const char* systemFolder = "/etc/ssl/certs";
    if (!store.file && !store.folder && isHashedFolder(systemFolder)) store.folder = systemFolder;
    return store;
}

// libcurl sends again what a closed connection or a refused stream took. Only what merely asks may be.
bool mayBeRepeated(const URLRequest& request) {
    return request.httpMethod == "GET" || request.httpMethod == "HEAD";
}

enum class Coding { none, offered, other };

Coding contentCoding(std::string_view name) {
    if (name.empty() || equalsWithoutCase(name, "identity")) return Coding::none;
    for (const std::string_view offered : {"gzip", "x-gzip", "deflate"}) {
        if (equalsWithoutCase(name, offered)) return Coding::offered;
    }
    return Coding::other;
}

Coding transferCoding(std::string_view name) {
    const bool isPlain =
        name.empty() || equalsWithoutCase(name, "chunked") || equalsWithoutCase(name, "identity");
    return isPlain ? Coding::none : Coding::other;
}

// How many layers a reply is packed in by this field; nothing for a packing that was not offered.
std::optional<int> codings(std::string_view field, std::string_view list) {
    const bool isContent = equalsWithoutCase(field, "content-encoding");
    if (!isContent && !equalsWithoutCase(field, "transfer-encoding")) return 0;
    int count = 0;
    for (bool isLast = false; !isLast;) {
        const auto comma = list.find(',');
        isLast = comma == std::string_view::npos;
        const std::string_view name = trimmed(list.substr(0, comma));
        const Coding coding = isContent ? contentCoding(name) : transferCoding(name);
        if (coding == Coding::other) return std::nullopt;
        if (coding == Coding::offered) ++count;
        if (!isLast) list.remove_prefix(comma + 1);
    }
    return count;
}

const char* orNull(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}

}  // namespace

Transfer::Transfer(URLRequest request, const URLSessionConfiguration& limits,
                   std::function<void(TransferOutcome)> completion)
    : request_(std::move(request)), limits_(limits), completion_(std::move(completion)) {}

// No exception may cross libcurl.
template <typename Work>
bool Transfer::succeeds(Work work) {
    try {
        work();
        return true;
    } catch (const URLError& error) {
        exchange_.refusal = error;
    } catch (const std::exception&) {
        // Memory has run out; libcurl's own word for what then happens will do.
    }
    return false;
}

// Where a body is heard of as it came, before the names of its chunks are taken off and it is unpacked.
int Transfer::overheard(CURL*, curl_infotype kind, char*, std::size_t size, void* transfer) {
    const bool hasCome = kind == CURLINFO_HEADER_IN || kind == CURLINFO_DATA_IN;
    if (hasCome) static_cast<Transfer*>(transfer)->exchange_.bytesReceived += size;
    return 0;
}

int Transfer::aboutToSend(void* transfer, char*, char*, int, int) {
    auto& self = *static_cast<Transfer*>(transfer);
    const bool isAllowed = self.succeeds([&self] {
        if (std::exchange(self.exchange_.wasSent, true) && !mayBeRepeated(self.request_)) {
            throw URLError(URLErrorCode::networkConnectionLost, "the request was sent and not answered");
        }
    });
    return isAllowed ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

template <void (Transfer::*receive)(std::string_view)>
std::size_t Transfer::received(char* bytes, std::size_t unit, std::size_t count, void* transfer) {
    auto& self = *static_cast<Transfer*>(transfer);
    const std::string_view part(bytes, unit * count);
    return self.succeeds([&self, part] { (self.*receive)(part); }) ? part.size() : CURL_WRITEFUNC_ERROR;
}

CURL* Transfer::prepare() {
    const std::string scheme = request_.url.scheme();
    if (scheme != "http" && scheme != "https") {
        throw URLError(URLErrorCode::unsupportedURL, "the URL's scheme is neither http nor https");
    }
    if (request_.url.host().empty()) throw URLError(URLErrorCode::unsupportedURL, "the URL has no host");
    if (handle_) {
        curl_easy_reset(handle_.get());
    } else {
        handle_.reset(curl_easy_init());
    }
    if (!handle_) throw URLError(URLErrorCode::unknown, "no transfer can be made");
    exchange_ = {};
    headers_.clear();
    data_.clear();
    if (!end_) {
        end_ = std::chrono::steady_clock::now() +
               std::min(limits_.timeoutIntervalForResource,
                        request_.timeoutIntervalForResource.value_or(limits_.timeoutIntervalForResource));
    }

    CURL* handle = handle_.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
    // What it would make of user information is a credential that nobody asked it to send.
    curl_easy_setopt(handle, CURLOPT_URL, request_.url.withoutUserInformation().absoluteString().c_str());
    curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_2TLS});
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &Transfer::received<&Transfer::receiveHeaderLine>);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Transfer::received<&Transfer::receiveBodyPart>);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    setConnection();
    setMethodAndBody();
    setHeaders();
    setTrust();
    return handle;
}

void Transfer::setConnection() {
    CURL* handle = handle_.get();
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // A name look-up that hangs is left behind, not waited for.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    // Idleness is watched by the loop; connecting is no exception to it.
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, 0L);
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &Transfer::overheard);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &Transfer::aboutToSend);
    curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
    if (mayBeRepeated(request_)) return;
    curl_easy_setopt(handle, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
}

void Transfer::setMethodAndBody() {
    const std::string& method = request_.httpMethod;
    if (!isToken(method)) throw URLError(URLErrorCode::unknown, "the method cannot be sent");
    CURL* handle = handle_.get();
    if (method == "HEAD" && request_.httpBody.empty()) {
        curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
        return;
    }
    // A declared length that is too long already compressed; of HEAD it says nothing.
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits_.maximumReplySize));
    if (method != "GET" || !request_.httpBody.empty()) {
        const bool carriesBody =
            !request_.httpBody.empty() || method == "POST" || method == "PUT" || method == "PATCH";
        if (carriesBody) {
            curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                             static_cast<curl_off_t>(request_.httpBody.size()));
            curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request_.httpBody.data());
        }
        if (method != "POST") curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    }
}

void Transfer::setHeaders() {
    headerLines_.reset();
    const auto append = [this](const std::string& line) {
        curl_slist* longer = curl_slist_append(headerLines_.get(), line.c_str());
        if (!longer) throw URLError(URLErrorCode::unknown, "the headers cannot be sent");
        (void)headerLines_.release();
        headerLines_.reset(longer);
    };
    for (const HTTPHeaderField& field : request_.headers) {
        if (!isToken(field.name) || !isFieldValue(field.value)) {
            throw URLError(URLErrorCode::unknown, "a header field cannot be sent");
        }
        append(trimmed(field.value).empty() ? field.name + ";" : field.name + ": " + field.value);
    }
    // What libcurl would add of its own.
    for (const char* unasked : {"Accept", "Content-Type", "Expect"}) {
        if (!request_.value(unasked)) append(std::string(unasked) + ":");
    }
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headerLines_.get());
}

// A proxy may be spoken to over TLS as well, so this is for every scheme.
void Transfer::setTrust() {
    CURL* handle = handle_.get();
    if (curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, &applyTLSPolicy) != CURLE_OK) {
        throw URLError(URLErrorCode::secureConnectionFailed, "libcurl was built with another TLS library");
    }
    if (request_.url.scheme() != "https") return;
    const TrustStore store = trustStore();
    if (!store.file && !store.folder) return;
    curl_easy_setopt(handle, CURLOPT_CAINFO, orNull(store.file));
    curl_easy_setopt(handle, CURLOPT_CAPATH, orNull(store.folder));
}

void Transfer::receiveHeaderLine(std::string_view line) {
    exchange_.headerBytes += line.size();
    if (exchange_.headerBytes > maximumHeaderBytes || ++exchange_.headerLines > maximumHeaderLines) {
        throw URLError(URLErrorCode::badServerResponse, "the reply's headers are too long");
    }
    // Fields behind the body (trailers) are none of the reply's.
    if (exchange_.headersEnded) return;
    // An interim reply or a proxy's own came before.
    if (line.starts_with("HTTP/")) headers_.clear();
    if (line == "\r\n" || line == "\n") {
        long statusCode = 0;
        curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &statusCode);
        exchange_.headersEnded = statusCode >= 200;
        return;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return;
    HTTPHeaderField field = {std::string(trimmed(line.substr(0, colon))),
                             std::string(trimmed(line.substr(colon + 1)))};
    noteCodings(field);
    headers_.push_back(std::move(field));
}

// libcurl unpacks whatever it is told to, and layer upon layer a few bytes can be made to take for ever
// without a byte of outcome.
void Transfer::noteCodings(const HTTPHeaderField& field) {
    const auto found = codings(field.name, field.value);
    if (found) exchange_.codings += *found;
    if (!found || exchange_.codings > 1) {
        throw URLError(URLErrorCode::cannotDecodeContent, "the reply is packed as nobody asked for");
    }
}

void Transfer::receiveBodyPart(std::string_view part) {
    if (part.size() > limits_.maximumReplySize - data_.size()) {
        throw URLError(URLErrorCode::dataLengthExceedsMaximum, "the reply is too long");
    }
    if (data_.empty()) makeRoom();
    data_.append(part);
}

/// A body that grew into its place would cost twice its size on the way.
void Transfer::makeRoom() {
    constexpr std::size_t mostOnTrust = std::size_t{8} << 20;  // what a server says is not what it sends
    curl_off_t announced = -1;
    curl_easy_getinfo(handle_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    if (announced > 0)
        data_.reserve(std::min({static_cast<std::size_t>(announced), limits_.maximumReplySize, mostOnTrust}));
}

bool Transfer::exchangeEnded(CURLcode code) {
    // A connection that ends among the headers is a whole reply to libcurl.
    if (code == CURLE_OK && !exchange_.headersEnded) code = CURLE_PARTIAL_FILE;
    if (code != CURLE_OK) {
        complete(error(code));
        return false;
    }
    long statusCode = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &statusCode);
    URLReply reply = {.response = {.url = request_.url,
                                   .statusCode = static_cast<int>(statusCode),
                                   .headers = std::move(headers_)},
                      .data = std::move(data_)};
    try {
        auto next = requestAfterRedirect(request_, reply.response);
        if (!next) {
            complete(std::move(reply));
            return false;
        }
        if (++redirects_ > limits_.maximumRedirects) {
            throw URLError(URLErrorCode::tooManyRedirects, "the redirects do not end");
        }
        request_ = std::move(*next);
        return true;
    } catch (const URLError& failure) {
        complete(failure);
        return false;
    }
}

void Transfer::fail(const URLError& error) {
    complete(error);
}

void Transfer::complete(TransferOutcome outcome) {
    if (const auto completion = std::exchange(completion_, nullptr)) completion(std::move(outcome));
}

URLError Transfer::error(CURLcode code) const {
    if (exchange_.refusal) return *exchange_.refusal;
    const auto found = std::find_if(errorCodes.begin(), errorCodes.end(),
                                    [code](const auto& pair) { return pair.first == code; });
    const auto fault = code == CURLE_PEER_FAILED_VERIFICATION ? certificateFault(handle_.get()) : "";
    return {found == errorCodes.end() ? URLErrorCode::unknown : found->second,
            fault.empty() ? curl_easy_strerror(code) : std::string(fault)};
}

std::optional<URLError> Transfer::overrun() {
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline()) {
        const bool hasBegun = exchange_.headerBytes > 0;
        return URLError(
            hasBegun ? URLErrorCode::replyTimedOut : URLErrorCode::timedOut,
            now >= *end_ ? "the transfer takes too long in all" : "nothing has moved for too long");
    }
    const std::uint64_t bearable = maximumHeaderBytes + maximumWireShare * limits_.maximumReplySize;
    if (exchange_.bytesReceived > bearable) {
        return URLError(URLErrorCode::dataLengthExceedsMaximum, "more comes than a reply is worth");
    }
    return std::nullopt;
}

std::chrono::steady_clock::time_point Transfer::deadline() {
    curl_off_t downloaded = 0;
    curl_off_t uploaded = 0;
    long header = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_DOWNLOAD_T, &downloaded);
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_UPLOAD_T, &uploaded);
    curl_easy_getinfo(handle_.get(), CURLINFO_HEADER_SIZE, &header);
    const curl_off_t moved = downloaded + uploaded + header;
    if (moved != exchange_.bytesMoved) {
        exchange_.bytesMoved = moved;
        exchange_.lastMoved = std::chrono::steady_clock::now();
    }
    return std::min(exchange_.lastMoved + request_.timeoutInterval, *end_);
}

}  // namespace platform
