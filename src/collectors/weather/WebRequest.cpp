#include "collectors/weather/WebRequest.h"

#include <libsoup/soup.h>
#include <utility>

namespace corvane {

GObjectRef<SoupSession> makeWebSession(GTlsDatabase* trust, unsigned timeoutSeconds) {
    auto session = GObjectRef<SoupSession>::adopt(soup_session_new_with_options(
        "timeout", timeoutSeconds, "user-agent", "corvanebar", nullptr));
    if (trust)
        soup_session_set_tls_database(session.get(), trust);
    return session;
}

// The message, the answer so far and the way back, which is cut when the handle cancels.
struct WebRequest::Flight {
    WebRequest* owner;
    Done done;
    std::size_t limit;
    GObjectRef<SoupMessage> message;
    GObjectRef<GCancellable> cancellable = GObjectRef<GCancellable>::adopt(g_cancellable_new());
    GObjectRef<GInputStream> stream{};
    std::string answer = {};

    static void sent(GObject* source, GAsyncResult* result, gpointer data);
    static void read(GObject* stream, GAsyncResult* result, gpointer data);
    // The handle learns first that nothing is in flight, so `done` may start the next request.
    void end(std::optional<std::string> whole, std::string failure) {
        if (owner)
            owner->flight_ = nullptr;
        Done callback = std::move(done);
        delete this;
        if (callback)
            callback(std::move(whole), std::move(failure));
    }
};

WebRequest::WebRequest(SoupSession* session, const std::string& url, Options options, Done done) {
    SoupMessage* message = soup_message_new("GET", url.c_str());
    if (!message) {
        done(std::nullopt, "not a usable address: " + url);
        return;
    }
    if (options.noCache)
        soup_message_headers_replace(soup_message_get_request_headers(message), "Cache-Control",
                                     "no-cache");
    flight_ =
        new Flight{this, std::move(done), options.limit, GObjectRef<SoupMessage>::adopt(message)};
    soup_session_send_async(session, message, G_PRIORITY_DEFAULT, flight_->cancellable.get(),
                            &Flight::sent, flight_);
}

WebRequest::WebRequest(WebRequest&& other) noexcept
    : flight_(std::exchange(other.flight_, nullptr)) {
    if (flight_)
        flight_->owner = this;
}

WebRequest& WebRequest::operator=(WebRequest&& other) noexcept {
    if (this != &other) {
        cancel();
        flight_ = std::exchange(other.flight_, nullptr);
        if (flight_)
            flight_->owner = this;
    }
    return *this;
}

void WebRequest::cancel() {
    if (Flight* flight = std::exchange(flight_, nullptr)) {
        flight->owner = nullptr;
        flight->done = nullptr;
        g_cancellable_cancel(flight->cancellable.get());
    }
}

bool WebRequest::active() const {
    return flight_ != nullptr;
}

void WebRequest::Flight::sent(GObject* source, GAsyncResult* result, gpointer data) {
    auto* flight = static_cast<Flight*>(data);
    GError* error = nullptr;
    flight->stream = GObjectRef<GInputStream>::adopt(
        soup_session_send_finish(SOUP_SESSION(source), result, &error));
    const guint status = soup_message_get_status(flight->message.get());
    if (flight->stream && status == SOUP_STATUS_OK) {
        flight->answer.resize(flight->limit + 1); // one more: an answer that fills it is too long
        g_input_stream_read_all_async(flight->stream.get(), flight->answer.data(),
                                      flight->answer.size(), G_PRIORITY_DEFAULT,
                                      flight->cancellable.get(), &Flight::read, flight);
        return;
    }
    std::string failure =
        flight->stream
            ? "the service answered with status " + std::to_string(status)
            : std::string("the request failed: ") + (error ? error->message : "unknown error");
    g_clear_error(&error);
    flight->end(std::nullopt, std::move(failure));
}

void WebRequest::Flight::read(GObject* stream, GAsyncResult* result, gpointer data) {
    auto* flight = static_cast<Flight*>(data);
    GError* error = nullptr;
    gsize length = 0;
    if (!g_input_stream_read_all_finish(G_INPUT_STREAM(stream), result, &length, &error)) {
        std::string failure = std::string("reading the answer failed: ") + error->message;
        g_clear_error(&error);
        flight->end(std::nullopt, std::move(failure));
    } else if (length > flight->limit) {
        flight->end(std::nullopt,
                    "refused an answer longer than " + std::to_string(flight->limit) + " bytes");
    } else {
        flight->answer.resize(length);
        flight->end(std::move(flight->answer), {});
    }
}

} // namespace corvane
