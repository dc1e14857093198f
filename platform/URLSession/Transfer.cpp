#include "platform/URLSession/Transfer.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/URLSession/FieldName.hpp"
#include "platform/URLSession/Redirect.hpp"
#include "platform/URLSession/TLSPolicy.hpp"

namespace platform {
namespace {

// All header bytes of one exchange, interim replies and trailers included.
constexpr std::size_t maximumHeaderBytes = std::size_t{256} << 10;

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
    std::pair{CURLE_BAD_CONTENT_ENCODING, URLErrorCode::cannotDecodeContent},
    std::pair{CURLE_FILESIZE_EXCEEDED, URLErrorCode::dataLengthExceedsMaximum},
};

bool isTokenCharacter(char character) {
    return (character >= '0' && character <= '9') ||
           (lowercasedASCII(character) >= 'a' && lowercasedASCII(character) <= 'z') ||
           std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isFieldValue(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
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

const char* orNull(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}

}  // namespace

Transfer::Transfer(URLRequest request, const URLSessionConfiguration& limits,
                   std::function<void(TransferOutcome)> completion)
    : request_(std::move(request)), limits_(limits), completion_(std::move(completion)) {}

int Transfer::aboutToSend(void* transfer, char*, char*, int, int) {
    auto& self = *static_cast<Transfer*>(transfer);
    if (!std::exchange(self.wasSent_, true) || mayBeRepeated(self.request_)) return CURL_PREREQFUNC_OK;
    self.refusal_ = URLErrorCode::networkConnectionLost;
    return CURL_PREREQFUNC_ABORT;
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
    headers_.clear();
    wasSent_ = false;
    refusal_ = std::nullopt;
    headerBytes_ = 0;
    headersEnded_ = false;
    data_.clear();
    bytesMoved_ = -1;

    CURL* handle = handle_.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
    // What it would make of user information is a credential that nobody asked it to send.
    curl_easy_setopt(handle, CURLOPT_URL, request_.url.withoutUserInformation().absoluteString().c_str());
    curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_2TLS});
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // A name look-up that hangs is left behind, not waited for.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    // Idleness is watched by the loop; connecting is no exception to it.
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, 0L);
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &Transfer::receiveHeader);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Transfer::receiveBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &Transfer::aboutToSend);
    curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
    if (!mayBeRepeated(request_)) {
        curl_easy_setopt(handle, CURLOPT_FRESH_CONNECT, 1L);
        curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
    }
    setMethodAndBody();
    setHeaders();
    setTrust();
    return handle;
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
    for (const auto& [name, value] : request_.headers) {
        if (!isToken(name) || !isFieldValue(value)) {
            throw URLError(URLErrorCode::unknown, "a header field cannot be sent");
        }
        append(trimmed(value).empty() ? name + ";" : name + ": " + value);
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

std::size_t Transfer::receiveHeader(char* bytes, std::size_t unit, std::size_t count, void* transfer) {
    auto& self = *static_cast<Transfer*>(transfer);
    self.headerBytes_ += unit * count;
    if (self.headerBytes_ > maximumHeaderBytes) {
        self.refusal_ = URLErrorCode::badServerResponse;
        return CURL_WRITEFUNC_ERROR;
    }
    self.receiveHeaderLine({bytes, unit * count});
    return unit * count;
}

void Transfer::receiveHeaderLine(std::string_view line) {
    // An interim reply or a proxy's own came before.
    if (line.starts_with("HTTP/")) headers_.clear();
    headersEnded_ = line == "\r\n" || line == "\n";
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return;
    headers_.push_back(
        {std::string(trimmed(line.substr(0, colon))), std::string(trimmed(line.substr(colon + 1)))});
}

std::size_t Transfer::receiveBody(char* bytes, std::size_t unit, std::size_t count, void* transfer) {
    auto& self = *static_cast<Transfer*>(transfer);
    if (unit * count > self.limits_.maximumReplySize - self.data_.size()) {
        self.refusal_ = URLErrorCode::dataLengthExceedsMaximum;
        return CURL_WRITEFUNC_ERROR;
    }
    if (self.data_.empty()) self.makeRoom();
    self.data_.append(bytes, unit * count);
    return unit * count;
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
    if (code == CURLE_OK && !headersEnded_) code = CURLE_PARTIAL_FILE;
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
    if (refusal_) {
        switch (*refusal_) {
            case URLErrorCode::dataLengthExceedsMaximum: return {*refusal_, "the reply is too long"};
            case URLErrorCode::networkConnectionLost:
                return {*refusal_, "the request was sent and not answered"};
            default: return {*refusal_, "the reply's headers are too long"};
        }
    }
    const auto found = std::find_if(errorCodes.begin(), errorCodes.end(),
                                    [code](const auto& pair) { return pair.first == code; });
    return {found == errorCodes.end() ? URLErrorCode::unknown : found->second, curl_easy_strerror(code)};
}

std::chrono::steady_clock::time_point Transfer::deadline() {
    curl_off_t downloaded = 0;
    curl_off_t uploaded = 0;
    long header = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_DOWNLOAD_T, &downloaded);
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_UPLOAD_T, &uploaded);
    curl_easy_getinfo(handle_.get(), CURLINFO_HEADER_SIZE, &header);
    const curl_off_t moved = downloaded + uploaded + header;
    if (moved != bytesMoved_) {
        bytesMoved_ = moved;
        lastMoved_ = std::chrono::steady_clock::now();
    }
    return lastMoved_ + request_.timeoutInterval;
}

}  // namespace platform
