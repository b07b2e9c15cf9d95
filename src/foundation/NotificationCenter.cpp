#include "foundation/NotificationCenter.h"

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

namespace corvane {

class Observation::Registry {
public:
    struct Entry {
        std::string name;
        NotificationCenter::Callback callback;
        std::atomic<bool> active{true};
    };

    std::uint64_t add(std::string name, NotificationCenter::Callback callback) {
        auto entry = std::make_shared<Entry>();
        entry->name = std::move(name);
        entry->callback = std::move(callback);
        std::lock_guard lock(mutex_);
        const auto id = nextId_++;
        entries_.emplace(id, std::move(entry));
        return id;
    }

    void remove(std::uint64_t id) {
        std::shared_ptr<Entry> entry;
        {
            std::lock_guard lock(mutex_);
            auto it = entries_.find(id);
            if (it == entries_.end())
                return;
            entry = std::move(it->second);
            entries_.erase(it);
        }
        // A post under way holds its own reference, so a callback that removes itself
        // finishes safely; the flag keeps the post from calling it again.
        entry->active = false;
    }

    bool contains(std::uint64_t id) const {
        std::lock_guard lock(mutex_);
        return entries_.count(id) != 0;
    }

    std::size_t size() const {
        std::lock_guard lock(mutex_);
        return entries_.size();
    }

    // A snapshot, so that observers can add and remove observers while being called.
    std::vector<std::shared_ptr<Entry>> matching(const std::string& name) const {
        std::vector<std::shared_ptr<Entry>> result;
        std::lock_guard lock(mutex_);
        for (const auto& [id, entry] : entries_) {
            if (entry->name.empty() || entry->name == name)
                result.push_back(entry);
        }
        return result;
    }

private:
    mutable std::mutex mutex_;
    std::uint64_t nextId_ = 1;
    std::map<std::uint64_t, std::shared_ptr<Entry>> entries_;
};

Observation::Observation(std::weak_ptr<Registry> registry, std::uint64_t id)
    : registry_(std::move(registry))
    , id_(id) {}

Observation::~Observation() {
    reset();
}

Observation::Observation(Observation&& other) noexcept
    : registry_(std::move(other.registry_))
    , id_(std::exchange(other.id_, 0)) {}

Observation& Observation::operator=(Observation&& other) noexcept {
    if (this != &other) {
        reset();
        registry_ = std::move(other.registry_);
        id_ = std::exchange(other.id_, 0);
    }
    return *this;
}

void Observation::reset() {
    if (id_ == 0)
        return;
    if (auto registry = registry_.lock())
        registry->remove(id_);
    registry_.reset();
    id_ = 0;
}

bool Observation::active() const {
    auto registry = registry_.lock();
    return registry && id_ != 0 && registry->contains(id_);
}

NotificationCenter::NotificationCenter()
    : registry_(std::make_shared<Observation::Registry>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

Observation NotificationCenter::addObserver(std::string name, Callback callback) {
    return Observation(registry_, registry_->add(std::move(name), std::move(callback)));
}

void NotificationCenter::post(const Notification& notification) const {
    for (const auto& entry : registry_->matching(notification.name)) {
        if (entry->active)
            entry->callback(notification);
    }
}

void NotificationCenter::post(std::string name, std::any object, Value userInfo) const {
    post(Notification{std::move(name), std::move(object), std::move(userInfo)});
}

std::size_t NotificationCenter::observerCount() const {
    return registry_->size();
}

} // namespace corvane
