#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include "server/opcua/UaHandle.h"

namespace bench {

/// A transport fault, a refused service or an answer that cannot be read.
class UaError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A request that is encoded once and sent many times.
struct PreparedRequest {
    std::vector<std::byte> message;         // all its chunks, headers included
    std::vector<std::size_t> chunkOffsets;  // where each chunk's header begins
};

/// One answer, not decoded. The bytes are valid until the next call of the connection.
struct RawResponse {
    std::uint32_t requestId = 0;
    UA_ByteString body{};  // type id, then the response structure
};

/// A session over OPC UA TCP without security (OPC 10000-6, 6.7 and 7.1), made for loading a
/// server: requests may be encoded beforehand, many may be outstanding, and answers need not be
/// decoded, so that the client costs less than the server that it measures. One thread; every
/// failure throws UaError.
class UaConnection {
  public:
    /// Connects to 127.0.0.1 and activates an anonymous session.
    explicit UaConnection(std::uint16_t port);
    UaConnection(const UaConnection&) = delete;
    UaConnection& operator=(const UaConnection&) = delete;
    /// Closes the session if the server still answers.
    ~UaConnection();

    /// Sends a request and waits for its answer; no other request may be outstanding. A bad service
    /// result throws.
    template <class Request, std::size_t kRequest, class Response, std::size_t kResponse>
    void call(UaHandle<Request, kRequest>& request, UaHandle<Response, kResponse>& response) {
        authorize(request->requestHeader);
        const RawResponse raw = exchange(encode(&*request, request.type()));
        decode(raw, response);
    }

    /// Encodes a request with the session's rights.
    template <class Request, std::size_t kIndex>
    PreparedRequest prepare(UaHandle<Request, kIndex>& request) {
        authorize(request->requestHeader);
        return encode(&*request, request.type());
    }

    /// Queues a request; flush() or nextResponse() sends it. @return the id that its answer will
    /// have
    std::uint32_t post(const PreparedRequest& request);
    /// Writes what the socket takes of the queue, without waiting.
    void flush();
    /// The next answer; waits, and sends what is queued meanwhile. With `timeoutMs` -1 it waits
    /// forever, with 0 it takes what has arrived. @return false when the time is over
    bool nextResponse(RawResponse& response, int timeoutMs = -1);

    /// Drops the connection; the server keeps the session. Nothing may be called afterwards.
    void abandon();

    /// Decodes an answer; one of another type (a ServiceFault) or with a bad service result throws.
    template <class Response, std::size_t kIndex>
    static void decode(const RawResponse& raw, UaHandle<Response, kIndex>& response) {
        decodeRaw(raw, &*response, response.type());
        throwIfBad(response->responseHeader.serviceResult, response.type()->typeName);
    }

  private:
    class Socket {  // owns the descriptor
      public:
        Socket() = default;
        Socket(const Socket&) = delete;
        Socket& operator=(const Socket&) = delete;
        ~Socket();
        int fd = -1;
    };

    struct Chunk {  // one received message chunk, header included
        std::string_view type;
        bool final = false;
        UA_ByteString bytes{};
    };

    void hello(const std::string& url);
    void openChannel();
    void requestToken(UA_SecurityTokenRequestType type);
    void takeToken(const Chunk& chunk);
    void openSession(const std::string& url);
    void closeSession() noexcept;
    void authorize(UA_RequestHeader& header) const;
    PreparedRequest encode(const void* request, const UA_DataType* type) const;
    RawResponse exchange(const PreparedRequest& request);
    bool nextChunk(Chunk& chunk, int timeoutMs);
    bool chunkIsComplete(Chunk& chunk);
    void receive();
    static void decodeRaw(const RawResponse& raw, void* response, const UA_DataType* type);
    static void throwIfBad(UA_StatusCode status, const char* what);

    Socket socket_;
    std::uint32_t channelId_ = 0;
    std::uint32_t tokenId_ = 0;
    std::chrono::steady_clock::time_point renewAt_{};  // of the channel's token
    std::uint32_t sequenceNumber_ = 0;
    std::uint32_t requestId_ = 0;
    std::size_t maxChunk_ = 0;  // what the server receives at most, bytes
    OwnedNodeId authenticationToken_;
    std::vector<std::byte> out_;  // queued, from outSent_
    std::size_t outSent_ = 0;
    std::vector<std::byte> in_;  // received, from inTaken_ to inEnd_
    std::size_t inTaken_ = 0;
    std::size_t inEnd_ = 0;
    std::vector<std::byte> assembled_;  // body of an answer in several chunks
};

}  // namespace bench
