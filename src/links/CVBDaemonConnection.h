#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"
#include "links/BusCall.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// What wants the answers of process requests.
class CVBDaemonListener {
public:
    virtual ~CVBDaemonListener() = default;
    virtual void processesUpdated(const Value& response) = 0;
};

// The application's side of the privileged daemon. "Connected" means listening for the
// daemon's answers; the daemon's name appearing on the bus says it is (back) up, its name
// vanishing is the lost connection. Messages to a daemon that isn't there go nowhere: no
// reply function runs and nothing waits.
class CVBDaemonConnection {
public:
    static constexpr const char* kStatusChanged = "CVBDaemonStatusChanged";

    struct Environment {
        MainQueue& queue;
        GDBusConnection* bus = nullptr; // the daemon's bus; nullptr: none
        NotificationCenter& center;
        // The application's settings ("ProcessesCombine", "TimerFrequency").
        std::function<Value(const std::string& key)> preference;
        // A process's application information; nothing when there is no such process.
        std::function<std::optional<Value>(long pid)> applicationInformation;
        // The icon (name) of a file.
        std::function<std::string(const std::string& path)> fileIcon;
    };

    explicit CVBDaemonConnection(Environment environment);
    virtual ~CVBDaemonConnection();
    CVBDaemonConnection(const CVBDaemonConnection&) = delete;
    CVBDaemonConnection& operator=(const CVBDaemonConnection&) = delete;

    // The one instance, on the system bus and the process's main queue.
    static CVBDaemonConnection& sharedConnection();
    static void cleanupShared();

    void connect();
    void connectIfNeeded();
    void daemonAvailable();
    void checkForExistance();
    void cleanup();

    // Sent from the main queue.
    void smartTemps();
    void startSMARTStatus();
    void stopSMARTStatus();
    void startSMARTTemps();
    void stopSMARTTemps();
    void refreshDHCP(const std::string& interfaceName);
    void toggleAirPortPower();
    void setNetworkSet(const std::string& setIdentifier);
    void setFanSet(const Value& fans);
    void setT2FanSet(const Value& set);
    // Sent on the caller's thread; each reply function runs only on an answer.
    void setT2SafetyTemperature(double temperature);
    void setT2FanConfig(const Value& config, std::function<void(const Value&)> reply);
    void stopT2Fans(std::function<void(const Value&)> reply);
    void startT2Fans(std::function<void(const Value&)> reply);
    void version(std::function<void(double version, long long build)> reply);
    void fps(std::function<void(double)> reply);
    void infoForPids(const std::vector<long>& pids, std::function<void(const Value&)> reply);
    void sensors(const Value& keys, std::function<void(const Value&)> reply);
    void armSensors(const Value& rows, std::function<void(const Value&)> reply);
    void supportedSensors(const Value& rows, std::function<void(const Value&)> reply);
    void supportedFans(const Value& rows, std::function<void(const Value&)> reply);
    void machineSerial(std::function<void(const std::string&)> reply);

    void startProcessesWithKey(long key);
    void stopProcessesWithKey(long key);
    // "TimerFrequency" 0/1/2/other as the seconds between answers.
    static long intervalForTimerFrequency(std::int64_t frequency);

    void daemonResponse(const Value& response);
    const Value& storageForKey(long key) const;
    // Not owned; a listener stays until `cleanup`.
    void addListener(CVBDaemonListener* listener, long key);

    void clearLsInfoCache() { lsInfoCache_.clear(); }
    void clearFrozenCache() { frozenCache_.clear(); }
    void clearIconCache() { iconCache_.clear(); }
    void checkFrozenCache();
    bool isProcessFrozen(int pid) const;
    Value lsInforForPid(long pid);
    std::string iconForFile(const std::string& path);

    bool isConnected() const { return connected_; }
    bool exists() const { return exists_; }
    bool daemonFileExists() const { return daemonFileExists_; }
    bool autoReconnect() const { return autoReconnect_; }
    bool enabled() const { return enabled_; }
    double cpuStartTime() const { return cpuStartTime_; }
    double frozenCacheTime() const { return frozenCacheTime_; }
    std::size_t lsInfoCacheSize() const { return lsInfoCache_.size(); }

protected:
    virtual void connected() {}
    virtual void disconnected() {}

private:
    BusTarget target() const;
    void dropConnection();
    void lost();
    void sendLater(std::string method, GVariant* parameters);
    void send(const std::string& method, GVariant* parameters);
    void ask(const std::string& method, GVariant* parameters, const char* replyType,
             std::function<void(GVariant*)> reply);
    void askForValue(const std::string& method, GVariant* parameters, const char* replyType,
                     std::function<void(const Value&)> reply);
    void askExists();
    void signalled(const char* sender, GVariant* parameters);
    static void nameAppeared(GDBusConnection*, const char*, const char* owner, void* self);
    static void nameVanished(GDBusConnection*, const char*, void* self);

    Environment environment_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    NameWatch watch_; // the daemon's name: the counterpart of its "ready" notification
    std::string owner_;
    bool sawNameAbsent_ = false;
    ConnectionId subscription_;
    bool connected_ = false;
    bool autoReconnect_ = true;
    bool exists_ = false;
    bool daemonFileExists_ = false;
    bool enabled_ = false;
    double frozenCacheTime_ = 0;
    double cpuStartTime_ = 0;
    std::map<std::string, Value> storage_;
    std::map<std::string, std::vector<CVBDaemonListener*>> listeners_;
    std::map<std::string, std::string> iconCache_;
    std::map<std::string, Value> lsInfoCache_;
    std::map<std::string, bool> frozenCache_;
    MainQueue::TimerId existenceTimer_ = 0;
    MainQueue::TimerId reconnectTimer_ = 0;
};

} // namespace corvane
