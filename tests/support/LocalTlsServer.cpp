#include "support/LocalTlsServer.h"

#include <libsoup/soup.h>

namespace corvane::test {

LocalTlsServer::LocalTlsServer() {
    if (makeCertificate())
        listen();
}

LocalTlsServer::~LocalTlsServer() {
    for (SoupWebsocketConnection* socket : sockets_)
        g_object_unref(socket);
    if (server_) {
        soup_server_disconnect(server_);
        g_object_unref(server_);
    }
    if (database_)
        g_object_unref(database_);
}

bool LocalTlsServer::makeCertificate() {
    const std::string key = (directory_ / "key.pem").string();
    const std::string certificate = (directory_ / "certificate.pem").string();
    const gchar* argv[] = {"openssl",
                           "req",
                           "-x509",
                           "-newkey",
                           "ec",
                           "-pkeyopt",
                           "ec_paramgen_curve:prime256v1",
                           "-nodes",
                           "-days",
                           "1",
                           "-subj",
                           "/CN=127.0.0.1",
                           "-addext",
                           "subjectAltName=IP:127.0.0.1",
                           "-keyout",
                           key.c_str(),
                           "-out",
                           certificate.c_str(),
                           nullptr};
    gint status = -1;
    GError* error = nullptr;
    if (!g_spawn_sync(nullptr, const_cast<gchar**>(argv), nullptr,
                      static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL |
                                               G_SPAWN_STDERR_TO_DEV_NULL),
                      nullptr, nullptr, nullptr, nullptr, &status, &error) ||
        !g_spawn_check_wait_status(status, nullptr)) {
        failure_ = std::string("cannot make a certificate with openssl: ") +
                   (error ? error->message : "it failed");
        g_clear_error(&error);
        return false;
    }
    GTlsCertificate* tls =
        g_tls_certificate_new_from_files(certificate.c_str(), key.c_str(), &error);
    if (tls)
        database_ = g_tls_file_database_new(certificate.c_str(), &error);
    if (!tls || !database_) {
        failure_ = std::string("no TLS backend for the certificate: ") +
                   (error ? error->message : "unknown");
        g_clear_error(&error);
        if (tls)
            g_object_unref(tls);
        return false;
    }
    server_ = soup_server_new("tls-certificate", tls, nullptr);
    g_object_unref(tls);
    return server_ != nullptr;
}

bool LocalTlsServer::listen() {
    soup_server_add_handler(
        server_, nullptr,
        [](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
            auto& answer = static_cast<LocalTlsServer*>(self)->answers_[path];
            ++answer.requests;
            soup_server_message_set_status(message, answer.status, nullptr);
            soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY,
                                             answer.body.data(), answer.body.size());
        },
        this, nullptr);
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, 0,
                                  static_cast<SoupServerListenOptions>(
                                      SOUP_SERVER_LISTEN_HTTPS | SOUP_SERVER_LISTEN_IPV4_ONLY),
                                  &error)) {
        failure_ = std::string("cannot listen on 127.0.0.1: ") + error->message;
        g_clear_error(&error);
        return false;
    }
    GSList* uris = soup_server_get_uris(server_);
    port_ = uris ? static_cast<unsigned>(g_uri_get_port(static_cast<GUri*>(uris->data))) : 0;
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return port_ != 0;
}

std::string LocalTlsServer::url(const std::string& path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + path;
}

void LocalTlsServer::respond(const std::string& path, unsigned status, std::string body) {
    auto& answer = answers_[path];
    answer.status = status;
    answer.body = std::move(body);
}

int LocalTlsServer::requests(const std::string& path) const {
    const auto found = answers_.find(path);
    return found == answers_.end() ? 0 : found->second.requests;
}

void LocalTlsServer::acceptWebSockets(const std::string& path,
                                      std::function<void(const std::string& frame)> received) {
    received_ = std::move(received);
    soup_server_add_websocket_handler(
        server_, path.c_str(), nullptr, nullptr,
        [](SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection* socket,
           gpointer data) {
            auto* self = static_cast<LocalTlsServer*>(data);
            self->sockets_.push_back(static_cast<SoupWebsocketConnection*>(g_object_ref(socket)));
            g_signal_connect(
                socket, "message",
                G_CALLBACK(+[](SoupWebsocketConnection*, gint type, GBytes* bytes, gpointer owner) {
                    gsize size = 0;
                    const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
                    auto* server = static_cast<LocalTlsServer*>(owner);
                    if (type == SOUP_WEBSOCKET_DATA_TEXT && server->received_)
                        server->received_(std::string(text ? text : "", size));
                }),
                self);
        },
        this, nullptr);
}

std::string LocalTlsServer::webSocketURL(const std::string& path) const {
    return "wss://127.0.0.1:" + std::to_string(port_) + path;
}

int LocalTlsServer::send(const std::string& frame) {
    int sent = 0;
    for (SoupWebsocketConnection* socket : sockets_) {
        if (soup_websocket_connection_get_state(socket) == SOUP_WEBSOCKET_STATE_OPEN) {
            soup_websocket_connection_send_text(socket, frame.c_str());
            ++sent;
        }
    }
    return sent;
}

int LocalTlsServer::openWebSockets() const {
    int open = 0;
    for (SoupWebsocketConnection* socket : sockets_)
        open += soup_websocket_connection_get_state(socket) == SOUP_WEBSOCKET_STATE_OPEN;
    return open;
}

} // namespace corvane::test
