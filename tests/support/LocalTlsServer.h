#pragma once

#include "support/TemporaryDirectory.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

using GTlsDatabase = struct _GTlsDatabase;
using SoupServer = struct _SoupServer;
using SoupWebsocketConnection = struct _SoupWebsocketConnection;

namespace corvane::test {

// An HTTPS server on 127.0.0.1 for the clients of outside services: a certificate for that
// address is made at start (with the openssl program) and trusted through database(), which
// the client under test is given instead of the system's trust store. It serves on the
// thread-default main context: tests iterate it while they wait.
class LocalTlsServer {
public:
    LocalTlsServer();
    ~LocalTlsServer();
    LocalTlsServer(const LocalTlsServer&) = delete;
    LocalTlsServer& operator=(const LocalTlsServer&) = delete;

    // Empty when serving; else why not, for GTEST_SKIP.
    const std::string& failure() const { return failure_; }
    // "https://127.0.0.1:PORT" + path.
    std::string url(const std::string& path) const;
    GTlsDatabase* database() const { return database_; }

    // What GET `path` answers from now on.
    void respond(const std::string& path, unsigned status, std::string body);
    // The requests `path` has had.
    int requests(const std::string& path) const;

    // Accepts WebSockets on `path` ("wss://127.0.0.1:PORT" + path); each text frame a client
    // sends is handed to `received`. The test answers when it likes, through send().
    void acceptWebSockets(const std::string& path,
                          std::function<void(const std::string& frame)> received);
    std::string webSocketURL(const std::string& path) const;
    // A text frame to every open WebSocket; how many took it.
    int send(const std::string& frame);
    int openWebSockets() const;

private:
    struct Answer {
        unsigned status = 404;
        std::string body;
        int requests = 0;
    };
    bool makeCertificate();
    bool listen();

    TemporaryDirectory directory_;
    std::string failure_;
    SoupServer* server_ = nullptr;
    GTlsDatabase* database_ = nullptr;
    unsigned port_ = 0;
    std::map<std::string, Answer> answers_;
    std::function<void(const std::string&)> received_;
    std::vector<SoupWebsocketConnection*> sockets_; // each holds a reference
};

} // namespace corvane::test
