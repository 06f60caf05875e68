#pragma once

#include <span>
#include <string_view>

#include "tools/opcuaweb/basics/problem.h"
#include "tools/opcuaweb/http/addresses.h"
#include "tools/opcuaweb/http/asset.h"
#include "tools/opcuaweb/http/connection.h"
#include "tools/opcuaweb/http/passwords.h"

namespace tools::opcuaweb {

/// The way in over HTTP: who is let in, what all answers have in common, the page's files.
class WebServer {
  public:
    enum class Method { get, post };

    /// @param passwords  null: everybody who reaches the address is let in; else it outlives this object
    explicit WebServer(Passwords* passwords);

    /// Serves the files under their paths; their bytes are static.
    void addFiles(std::span<const Asset> files);
    /// @param path  taken literally
    void add(Method method, std::string_view path, httplib::Server::Handler handler);

    /// @return false if the address cannot be used
    [[nodiscard]] bool bind(const ListenAddress& address);
    /// Serves until `stop`; event streams must end before it returns.
    void serve() { server_.listen_after_bind(); }
    /// Without effect before `isServing`.
    void stop() { server_.stop(); }
    [[nodiscard]] bool isServing() const { return server_.is_running(); }

  private:
    using Admission = httplib::Server::HandlerResponse;

    [[nodiscard]] Admission admit(const httplib::Request& request, httplib::Response& response);
    [[nodiscard]] const Problem* passwordProblem(const httplib::Request& request,
                                                 httplib::Response& response);

    Passwords* passwords_;
    BoundedServer server_;
};

}  // namespace tools::opcuaweb
