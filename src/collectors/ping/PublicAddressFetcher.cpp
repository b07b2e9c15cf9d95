#include "collectors/ping/PublicAddressFetcher.h"

#include "foundation/Log.h"

#include <arpa/inet.h>
#include <libsoup/soup.h>

namespace corvane {

namespace {

void logFailure(const char* step, GError* error) {
    if (!g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED))
        CVBLog("Public address: %s failed: %s", step, error ? error->message : "unknown error");
}

} // namespace

// One fetch: the message, its answer so far, and the way back to the fetcher, which is cut
// when the fetcher cancels or goes away. Deletes itself when the last callback has run.
struct PublicAddressFetcher::Request {
    PublicAddressFetcher* owner;
    GObjectRef<SoupSession> session;
    GObjectRef<SoupMessage> message;
    GObjectRef<GCancellable> cancellable = GObjectRef<GCancellable>::adopt(g_cancellable_new());
    GObjectRef<GInputStream> stream{};
    char answer[kLongestAnswer + 1] = {}; // one more: an answer that fills it is too long

    void cancel() {
        owner = nullptr;
        g_cancellable_cancel(cancellable.get());
    }
    // The steps of the fetch, as GIO callbacks.
    static void sent(GObject* source, GAsyncResult* result, gpointer data);
    static void read(GObject* stream, GAsyncResult* result, gpointer data);
    void end(bool complete);
};

PublicAddressFetcher::PublicAddressFetcher(const Clock& clock, Settings settings,
                                           std::function<void(const Value&)> changed)
    : clock_(clock)
    , settings_(std::move(settings))
    , changed_(std::move(changed))
    , session_(GObjectRef<SoupSession>::adopt(
          soup_session_new_with_options("timeout", 30u, "user-agent", "corvanebar", nullptr))) {
    if (settings_.tlsDatabase)
        soup_session_set_tls_database(session_.get(), settings_.tlsDatabase);
}

PublicAddressFetcher::~PublicAddressFetcher() {
    if (request_)
        request_->cancel();
}

void PublicAddressFetcher::networkChanged(bool online) {
    online_ = online;
    // What is in flight may answer for the old network.
    if (request_) {
        request_->cancel();
        request_ = nullptr;
    }
    if (online) {
        fetch();
    } else if (!publicIPData_.dictionaryItems().empty()) {
        publicIPData_ = Value::dict();
        changed_(publicIPData_);
    }
}

void PublicAddressFetcher::refresh() {
    if (lastFetch_ < 0 || clock_.now() - lastFetch_ >= kMinimumInterval)
        fetch();
}

void PublicAddressFetcher::fetch() {
    if (!online_ || request_)
        return;
    lastFetch_ = clock_.now();
    SoupMessage* message = soup_message_new("GET", settings_.url.c_str());
    if (!message) {
        CVBLog("Public address: not a usable address of the service: %s", settings_.url.c_str());
        return;
    }
    request_ = new Request{this, GObjectRef<SoupSession>::share(session_.get()),
                           GObjectRef<SoupMessage>::adopt(message)};
    soup_session_send_async(session_.get(), message, G_PRIORITY_DEFAULT,
                            request_->cancellable.get(), &Request::sent, request_);
}

void PublicAddressFetcher::Request::sent(GObject* source, GAsyncResult* result, gpointer data) {
    auto* request = static_cast<Request*>(data);
    GError* error = nullptr;
    request->stream = GObjectRef<GInputStream>::adopt(
        soup_session_send_finish(SOUP_SESSION(source), result, &error));
    const guint status = soup_message_get_status(request->message.get());
    if (request->stream && status == SOUP_STATUS_OK) {
        g_input_stream_read_all_async(request->stream.get(), request->answer,
                                      sizeof request->answer, G_PRIORITY_DEFAULT,
                                      request->cancellable.get(), &Request::read, request);
        return;
    }
    if (request->stream)
        CVBLog("Public address: the service answered with status %u", status);
    else
        logFailure("the request", error);
    g_clear_error(&error);
    request->end(false);
}

void PublicAddressFetcher::Request::read(GObject* stream, GAsyncResult* result, gpointer data) {
    auto* request = static_cast<Request*>(data);
    GError* error = nullptr;
    gsize length = 0;
    const bool whole =
        g_input_stream_read_all_finish(G_INPUT_STREAM(stream), result, &length, &error);
    const bool complete = whole && length <= kLongestAnswer;
    if (!whole)
        logFailure("reading the answer", error);
    else if (!complete)
        CVBLog("Public address: refused an answer longer than %zu bytes", kLongestAnswer);
    g_clear_error(&error);
    request->answer[complete ? length : 0] = '\0';
    request->end(complete);
}

void PublicAddressFetcher::Request::end(bool complete) {
    if (owner)
        owner->finished(*this, complete);
    delete this;
}

void PublicAddressFetcher::finished(Request& request, bool complete) {
    request_ = nullptr;
    if (!complete)
        return;
    const auto address = addressFromAnswer(request.answer);
    if (!address)
        return;
    Value data = Value::dict({{"address", *address}});
    if (data["address"].stringValue() != publicIPData_["address"].stringValue()) {
        publicIPData_ = data;
        changed_(publicIPData_);
    }
}

bool PublicAddressFetcher::shownWith(std::string_view disabledBlocks) {
    while (!disabledBlocks.empty()) {
        const auto comma = disabledBlocks.find(',');
        if (disabledBlocks.substr(0, comma) == kDropdownBlock)
            return false;
        if (comma == std::string_view::npos)
            break;
        disabledBlocks.remove_prefix(comma + 1);
    }
    return true;
}

std::optional<std::string> PublicAddressFetcher::addressFromAnswer(std::string_view answer) {
    const auto first = answer.find_first_not_of(" \t\r\n");
    const auto last = answer.find_last_not_of(" \t\r\n");
    const std::string text(first == std::string_view::npos
                               ? std::string_view()
                               : answer.substr(first, last - first + 1));
    unsigned char address[sizeof(in6_addr)];
    if (text.size() < INET6_ADDRSTRLEN && (::inet_pton(AF_INET, text.c_str(), address) == 1 ||
                                           ::inet_pton(AF_INET6, text.c_str(), address) == 1))
        return text;
    CVBLog("Public address: refused an answer that is not an address (%zu bytes)", answer.size());
    return std::nullopt;
}

} // namespace corvane
