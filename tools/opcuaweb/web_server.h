#pragma once

#include "tools/opcuaweb/connection.h"
#include "tools/opcuaweb/passwords.h"
#include "tools/opcuaweb/services.h"

namespace tools::opcuaweb {

/// The page and its interface over HTTP: routes, headers, who is let in.
class WebServer {
  public:
    /// @param passwords  null: everybody who reaches the address is let in. Both outlive this object.
    WebServer(Services& services, Passwords* passwords);

    /// @return false if the address cannot be used
    [[nodiscard]] bool bind(const ListenAddress& address);
    /// Serves until `stop`; event streams must end before it returns.
    void serve() { server_.listen_after_bind(); }
    /// Without effect before `isServing`.
    void stop() { server_.stop(); }
    [[nodiscard]] bool isServing() const { return server_.is_running(); }

  private:
    using Request = httplib::Request;
    using Response = httplib::Response;
    using Result = std::variant<Json, Problem>;
    using Rows = std::variant<std::string, Problem>;  // JSON
    using Handler = std::function<Result(const Request&)>;
    using Answer = httplib::Server::HandlerResponse;

    void addRules();
    void addPage();
    void addTree();
    void addHistory();
    void addParts();
    void addWrites();

    /// Routes for answers that are one JSON value.
    [[nodiscard]] static httplib::Server::Handler answering(Handler handler);
    void get(const std::string& path, Handler handler);
    void post(const std::string& path, Handler handler);

    [[nodiscard]] Answer admit(const Request& request, Response& response);
    void openEvents(Response& response);
    [[nodiscard]] Result watch(const Request& request);
    [[nodiscard]] Rows rowsBelow(const Request& request);
    [[nodiscard]] Result children(const Request& request);
    void streamHistory(const Request& request, Response& response, bool csv);
    [[nodiscard]] Result journalMessages(const Request& request);
    [[nodiscard]] Result checkConfiguration(const Request& request);
    [[nodiscard]] Result write(const Request& request, bool really);

    Services& services_;
    Passwords* passwords_;
    BoundedServer server_;
};

}  // namespace tools::opcuaweb
