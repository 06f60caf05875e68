#include "bench/ua_connection.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <span>
#include <utility>

#include <open62541/types.h>
#include <open62541/util.h>

namespace bench {
namespace {

constexpr std::size_t kReceiveBuffer = 1U << 20;
constexpr std::uint32_t kLargestChunk = 65535;
constexpr std::size_t kMessageHeader = 8;     // type, chunk kind, size
constexpr std::size_t kSymmetricHeader = 24;  // with channel, token, sequence number, request id
constexpr std::size_t kTokenIdAt = 12;
constexpr std::size_t kSequenceNumberAt = 16;
constexpr std::size_t kRequestIdAt = 20;

std::span<const std::byte> bytesOf(const void* data, std::size_t size) {
    return {static_cast<const std::byte*>(data), size};
}

void append(std::vector<std::byte>& out, std::span<const std::byte> bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

// The protocol's byte order is the machine's: little-endian on both machines that this runs on.
void append(std::vector<std::byte>& out, std::uint32_t number) {
    append(out, bytesOf(&number, sizeof number));
}

void append(std::vector<std::byte>& out, std::string_view s) {
    append(out, bytesOf(s.data(), s.size()));
}

void appendEncoded(std::vector<std::byte>& out, const void* value, const UA_DataType* type) {
    OwnedByteString buffer;
    if (UA_encodeBinary(value, type, buffer.get(), nullptr) != UA_STATUSCODE_GOOD) {
        throw UaError(std::string("cannot encode ") + type->typeName);
    }
    append(out, bytesOf(buffer->data, buffer->length));
}

void setNumber(std::vector<std::byte>& bytes, std::size_t at, std::uint32_t number) {
    std::memcpy(bytes.data() + at, &number, sizeof number);
}

std::uint32_t numberAt(const UA_ByteString& bytes, std::size_t at) {
    if (at + sizeof(std::uint32_t) > bytes.length) throw UaError("truncated message");
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data + at, sizeof number);
    return number;
}

UA_ByteString from(const UA_ByteString& bytes, std::size_t at) {
    if (at > bytes.length) throw UaError("truncated message");
    return {bytes.length - at, bytes.data + at};
}

[[noreturn]] void throwErrno(const char* what) {
    throw UaError(std::string(what) + ": " + std::strerror(errno));
}

}  // namespace

UaConnection::Socket::~Socket() {
    if (fd >= 0) (void)::close(fd);  // nothing to be done about a failure
}

UaConnection::UaConnection(std::uint16_t port) : in_(kReceiveBuffer) {
    socket_.fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_.fd < 0) throwErrno("socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_.fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        throwErrno("connect");
    }
    const int on = 1;
    if (::setsockopt(socket_.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
        ::fcntl(socket_.fd, F_SETFL, O_NONBLOCK) != 0) {
        throwErrno("socket options");
    }
    const std::string url = "opc.tcp://127.0.0.1:" + std::to_string(port);
    hello(url);
    openChannel();
    openSession(url);
}

UaConnection::~UaConnection() {
    if (socket_.fd >= 0) closeSession();
}

void UaConnection::closeSession() noexcept {
    try {
        UaHandle<UA_CloseSessionRequest, UA_TYPES_CLOSESESSIONREQUEST> request;
        UaHandle<UA_CloseSessionResponse, UA_TYPES_CLOSESESSIONRESPONSE> response;
        request->deleteSubscriptions = true;
        call(request, response);
    } catch (const UaError&) {  // the server may be gone; the session dies with its channel
    }
}

void UaConnection::abandon() {
    (void)::close(socket_.fd);  // nothing to be done about a failure
    socket_.fd = -1;
}

// ---- Handshake ----------------------------------------------------------------------------------

void UaConnection::hello(const std::string& url) {
    append(out_, std::string_view("HELF"));
    append(out_, static_cast<std::uint32_t>(kMessageHeader + 24 + url.size()));
    for (const std::uint32_t number : {0U, kLargestChunk, kLargestChunk, 0U, 0U}) {
        append(out_, number);  // version, buffers, no limit of message size and chunk count
    }
    append(out_, static_cast<std::uint32_t>(url.size()));
    append(out_, std::string_view(url));
    Chunk chunk;
    (void)nextChunk(chunk, -1);  // without a time limit it returns a chunk or throws
    if (chunk.type != "ACK") throw UaError("the server refused the connection");
    maxChunk_ = std::min(kLargestChunk, numberAt(chunk.bytes, kMessageHeader + 4));
    if (maxChunk_ <= kSymmetricHeader) throw UaError("the server's receive buffer is too small");
}

void UaConnection::openChannel() {
    requestToken(UA_SECURITYTOKENREQUESTTYPE_ISSUE);
    Chunk chunk;
    (void)nextChunk(chunk, -1);
    if (chunk.type != "OPN") throw UaError("the server refused the secure channel");
    takeToken(chunk);
}

void UaConnection::requestToken(UA_SecurityTokenRequestType type) {
    UaHandle<UA_OpenSecureChannelRequest, UA_TYPES_OPENSECURECHANNELREQUEST> request;
    request->requestType = type;
    request->securityMode = UA_MESSAGESECURITYMODE_NONE;
    request->requestedLifetime = 3'600'000;  // ms; the server may grant less
    constexpr std::string_view kPolicy = "http://opcfoundation.org/UA/SecurityPolicy#None";
    std::vector<std::byte> body;
    append(body, channelId_);  // 0: none yet
    append(body, static_cast<std::uint32_t>(kPolicy.size()));
    append(body, kPolicy);
    append(body, ~0U);  // no certificate
    append(body, ~0U);  // no thumbprint
    append(body, ++sequenceNumber_);
    append(body, ++requestId_);
    appendEncoded(body, &request.type()->binaryEncodingId, &UA_TYPES[UA_TYPES_NODEID]);
    appendEncoded(body, &*request, request.type());
    append(out_, std::string_view("OPNF"));
    append(out_, static_cast<std::uint32_t>(kMessageHeader + body.size()));
    append(out_, body);
}

void UaConnection::takeToken(const Chunk& chunk) {
    std::size_t at = kMessageHeader + 4;
    for (int field = 0; field < 3; ++field) {  // policy, certificate, thumbprint: -1 is null
        const std::uint32_t length = numberAt(chunk.bytes, at);
        at += sizeof length + (length == ~0U ? 0 : length);
    }
    UaHandle<UA_OpenSecureChannelResponse, UA_TYPES_OPENSECURECHANNELRESPONSE> response;
    decode({0, from(chunk.bytes, at + 8)}, response);
    channelId_ = response->securityToken.channelId;
    tokenId_ = response->securityToken.tokenId;
    const std::chrono::milliseconds lifetime(response->securityToken.revisedLifetime);
    renewAt_ = std::chrono::steady_clock::now() + lifetime * 3 / 4;
}

void UaConnection::openSession(const std::string& url) {
    UaHandle<UA_CreateSessionRequest, UA_TYPES_CREATESESSIONREQUEST> create;
    create->endpointUrl = UA_String_fromChars(url.c_str());
    create->clientDescription.applicationUri = UA_String_fromChars("urn:vesk:bench");
    create->clientDescription.applicationType = UA_APPLICATIONTYPE_CLIENT;
    create->sessionName = UA_String_fromChars("bench");
    create->requestedSessionTimeout = 3'600'000;  // ms
    UaHandle<UA_CreateSessionResponse, UA_TYPES_CREATESESSIONRESPONSE> created;
    call(create, created);
    std::swap(*authenticationToken_, created->authenticationToken);
    // No identity token at all means an anonymous user (OPC 10000-4, 5.7.3).
    UaHandle<UA_ActivateSessionRequest, UA_TYPES_ACTIVATESESSIONREQUEST> activate;
    UaHandle<UA_ActivateSessionResponse, UA_TYPES_ACTIVATESESSIONRESPONSE> activated;
    call(activate, activated);
}

// ---- Requests -----------------------------------------------------------------------------------

void UaConnection::authorize(UA_RequestHeader& header) const {
    UA_NodeId_clear(&header.authenticationToken);
    if (UA_NodeId_copy(authenticationToken_.get(), &header.authenticationToken) !=
        UA_STATUSCODE_GOOD) {
        throw UaError("out of memory");
    }
    header.timestamp = UA_DateTime_now();
}

PreparedRequest UaConnection::encode(const void* request, const UA_DataType* type) const {
    std::vector<std::byte> body;
    appendEncoded(body, &type->binaryEncodingId, &UA_TYPES[UA_TYPES_NODEID]);
    appendEncoded(body, request, type);
    PreparedRequest prepared;
    std::span<const std::byte> rest(body);
    while (!rest.empty()) {
        const auto part = rest.first(std::min(rest.size(), maxChunk_ - kSymmetricHeader));
        rest = rest.subspan(part.size());
        prepared.chunkOffsets.push_back(prepared.message.size());
        append(prepared.message, std::string_view(rest.empty() ? "MSGF" : "MSGC"));
        append(prepared.message, static_cast<std::uint32_t>(kSymmetricHeader + part.size()));
        append(prepared.message, channelId_);
        append(prepared.message, tokenId_);
        append(prepared.message, 0U);  // sequence number and request id: set when it is sent
        append(prepared.message, 0U);
        append(prepared.message, part);
    }
    return prepared;
}

std::uint32_t UaConnection::post(const PreparedRequest& request) {
    if (std::chrono::steady_clock::now() > renewAt_) {
        requestToken(UA_SECURITYTOKENREQUESTTYPE_RENEW);
        renewAt_ = std::chrono::steady_clock::time_point::max();  // until the answer comes
    }
    const std::size_t begin = out_.size();
    append(out_, request.message);
    ++requestId_;
    for (const std::size_t offset : request.chunkOffsets) {
        setNumber(out_, begin + offset + kTokenIdAt, tokenId_);
        setNumber(out_, begin + offset + kSequenceNumberAt, ++sequenceNumber_);
        setNumber(out_, begin + offset + kRequestIdAt, requestId_);
    }
    return requestId_;
}

RawResponse UaConnection::exchange(const PreparedRequest& request) {
    const std::uint32_t id = post(request);
    RawResponse response;
    (void)nextResponse(response);
    if (response.requestId != id) throw UaError("answer to another request");
    return response;
}

void UaConnection::flush() {
    while (outSent_ < out_.size()) {
        const ssize_t sent =
            ::send(socket_.fd, out_.data() + outSent_, out_.size() - outSent_, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        if (sent < 0) throwErrno("send");
        outSent_ += static_cast<std::size_t>(sent);
    }
    out_.clear();
    outSent_ = 0;
}

// ---- Answers ------------------------------------------------------------------------------------

bool UaConnection::nextResponse(RawResponse& response, int timeoutMs) {
    assembled_.clear();
    Chunk chunk;
    while (nextChunk(chunk, timeoutMs)) {
        if (chunk.type == "OPN") {
            takeToken(chunk);
            continue;
        }
        if (chunk.type != "MSG") throw UaError("the server ended the connection");
        const UA_ByteString part = from(chunk.bytes, kSymmetricHeader);
        response.requestId = numberAt(chunk.bytes, kRequestIdAt);
        if (chunk.final && assembled_.empty()) {
            response.body = part;  // the usual case: not copied
            return true;
        }
        append(assembled_, bytesOf(part.data, part.length));
        timeoutMs = -1;  // the rest of a message that has begun is waited for
        if (!chunk.final) continue;
        response.body = {assembled_.size(), reinterpret_cast<UA_Byte*>(assembled_.data())};
        return true;
    }
    return false;
}

bool UaConnection::chunkIsComplete(Chunk& chunk) {
    const UA_ByteString received{inEnd_ - inTaken_,
                                 reinterpret_cast<UA_Byte*>(in_.data() + inTaken_)};
    if (received.length < kMessageHeader) return false;
    const std::uint32_t size = numberAt(received, 4);
    if (size < kMessageHeader || size > kLargestChunk) throw UaError("chunk of impossible size");
    if (received.length < size) return false;
    chunk.type = {reinterpret_cast<const char*>(received.data), 3};
    chunk.final = received.data[3] == 'F';
    chunk.bytes = {size, received.data};
    inTaken_ += size;
    return true;
}

bool UaConnection::nextChunk(Chunk& chunk, int timeoutMs) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    while (!chunkIsComplete(chunk)) {
        flush();
        int waitMs = -1;
        if (timeoutMs >= 0) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            waitMs = static_cast<int>(std::max<decltype(left)>(left, 0));
        }
        const bool unsent = !out_.empty();
        pollfd wanted{socket_.fd, static_cast<short>(unsent ? POLLIN | POLLOUT : POLLIN), 0};
        const int ready = ::poll(&wanted, 1, waitMs);
        if (ready < 0 && errno != EINTR) throwErrno("poll");
        if ((wanted.revents & ~POLLOUT) != 0) {
            receive();
        } else if (waitMs == 0) {
            return false;
        }
    }
    return true;
}

void UaConnection::receive() {
    // The remaining bytes are part of one chunk, so a whole one always fits.
    std::memmove(in_.data(), in_.data() + inTaken_, inEnd_ - inTaken_);
    inEnd_ -= inTaken_;
    inTaken_ = 0;
    const ssize_t got = ::recv(socket_.fd, in_.data() + inEnd_, in_.size() - inEnd_, 0);
    if (got == 0) throw UaError("the server closed the connection");
    if (got > 0) {
        inEnd_ += static_cast<std::size_t>(got);
    } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
        throwErrno("recv");
    }
}

void UaConnection::decodeRaw(const RawResponse& raw, void* response, const UA_DataType* type) {
    std::vector<std::byte> expected;
    appendEncoded(expected, &type->binaryEncodingId, &UA_TYPES[UA_TYPES_NODEID]);
    const UA_ByteString body = from(raw.body, expected.size());
    if (std::memcmp(raw.body.data, expected.data(), expected.size()) != 0) {
        // Every service may be answered by a ServiceFault, whose type id has the same length.
        UaHandle<UA_ServiceFault, UA_TYPES_SERVICEFAULT> fault;
        (void)UA_decodeBinary(&body, &*fault, fault.type(), nullptr);
        throw UaError(std::string("instead of ") + type->typeName + ": " +
                      UA_StatusCode_name(fault->responseHeader.serviceResult));
    }
    throwIfBad(UA_decodeBinary(&body, response, type, nullptr), type->typeName);
}

void UaConnection::throwIfBad(UA_StatusCode status, const char* what) {
    if (status != UA_STATUSCODE_GOOD) {
        throw UaError(std::string(what) + ": " + UA_StatusCode_name(status));
    }
}

}  // namespace bench
