#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using GDBusConnection = struct _GDBusConnection;
using GDBusMethodInvocation = struct _GDBusMethodInvocation;
using GDBusNodeInfo = struct _GDBusNodeInfo;
using GMainContext = struct _GMainContext;
using GMainLoop = struct _GMainLoop;
using GVariant = struct _GVariant;

namespace corvane::test {

// A D-Bus service played by a test: objects described by introspection XML, properties the
// test sets, methods answered by the test's functions, signals sent on request. It runs on
// the session bus from a thread and main context of its own, with a connection of its own,
// so the code under test talks to it as to another process.
//
// In "hang" mode calls (property reads included) are counted but held unanswered, as a
// service stuck in a loop does, until the mode is left or the service stops.
class FakeDBusService {
public:
    struct Call {
        std::string path;
        std::string interface;
        std::string method;
        std::string sender;
        GVariant* parameters; // the call's tuple, valid during the handler
    };
    struct Reply {
        Reply(GVariant* reply = nullptr)
            : value(reply) {}
        static Reply failure(std::string errorName, std::string message = "failed by the test");
        GVariant* value;       // the reply tuple, floating or owned; nullptr for "()"
        std::string errorName; // a D-Bus error instead of a value
        std::string errorMessage;
    };
    using Handler = std::function<Reply(const Call&)>;

    FakeDBusService(std::string busName, std::string objectPath, std::string introspectionXml);
    ~FakeDBusService();
    FakeDBusService(const FakeDBusService&) = delete;
    FakeDBusService& operator=(const FakeDBusService&) = delete;

    // Another object of the same service; before start().
    void addObject(std::string objectPath, std::string introspectionXml);
    // Answers `method` of any interface; runs on the service's thread. Calls without a
    // handler get an empty reply when the method returns nothing, an error otherwise.
    void onMethod(const std::string& method, Handler handler);
    // Takes the value (floating or owned). While running, also sends PropertiesChanged.
    void setProperty(const std::string& interface, const std::string& name, GVariant* value);

    // Joins the bus and takes the name, replacing an earlier fake of the same name. False
    // when there is no session bus.
    bool start();
    // Leaves the bus at once, as a process that dies; held calls get an error.
    void stop();
    bool running() const;
    std::string uniqueName() const;

    void emitSignal(const std::string& interface, const std::string& name,
                    GVariant* parameters = nullptr) const;
    void setHung(bool hung);

    // How often a method was called, and each call's arguments in GVariant text.
    int calls(const std::string& method) const;
    std::vector<std::string> arguments(const std::string& method) const;

private:
    struct Object;
    struct Held;

    static void methodCall(GDBusConnection*, const char* sender, const char* path,
                           const char* interface, const char* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, void* self);
    void serve(const std::string& address, std::promise<bool>& ready);
    bool publish();
    void answer(const Call& call, GDBusMethodInvocation* invocation);
    Reply properties(const Call& call);
    void answerHeld();
    void invoke(std::function<void()> task) const;

    std::string busName_;
    std::vector<std::unique_ptr<Object>> objects_;
    mutable std::mutex mutex_;
    std::map<std::string, Handler> handlers_;
    std::map<std::string, std::map<std::string, GVariant*>> properties_;
    std::map<std::string, std::vector<std::string>> calls_;
    std::vector<Held> held_;
    bool hung_ = false;
    std::atomic<bool> stopping_ = false;
    std::string uniqueName_;
    std::thread thread_;
    GMainContext* context_ = nullptr;
    GMainLoop* loop_ = nullptr;
    GDBusConnection* connection_ = nullptr;
};

} // namespace corvane::test
