#pragma once

#include "foundation/Value.h"

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace corvane {

struct Notification {
    std::string name;
    std::any object; // the sender, or whatever the poster hands along; empty for none
    Value userInfo;  // a dictionary, or null
};

// Keeps an observer registered for as long as it lives; destroying it (or reset) removes the
// observer. It may outlive its centre.
class Observation {
public:
    class Registry;

    Observation() = default;
    Observation(std::weak_ptr<Registry> registry, std::uint64_t id);
    ~Observation();
    Observation(Observation&& other) noexcept;
    Observation& operator=(Observation&& other) noexcept;
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

    void reset();
    bool active() const;

private:
    std::weak_ptr<Registry> registry_;
    std::uint64_t id_ = 0;
};

// The in-process notification centre. Observers run on the posting thread, in the order they
// were added. An observer may remove itself or others while a post is under way: a removed
// observer is not called again, not even later in the same post.
class NotificationCenter {
public:
    using Callback = std::function<void(const Notification&)>;

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    static NotificationCenter& defaultCenter();

    // An empty name observes every notification.
    [[nodiscard]] Observation addObserver(std::string name, Callback callback);
    void post(const Notification& notification) const;
    void post(std::string name, std::any object = {}, Value userInfo = {}) const;

    std::size_t observerCount() const;

private:
    std::shared_ptr<Observation::Registry> registry_;
};

} // namespace corvane
