#pragma once

#include "foundation/Color.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

// What a bound control talks to. Anything left empty is taken from the process: the session
// bus centre, the in-process centre and main queue of the shared preferences, and the panel
// theme the shared preferences detected.
struct BoundControlServices {
    DistributedNotificationCenter* distributedCenter = nullptr;
    NotificationCenter* center = nullptr; // where "ImportedPreferences" is posted
    MainQueue* queue = nullptr;           // for the colour well's delayed post
    std::function<bool()> isMenubarDark;
};

// The state of a settings control that stores itself under a preference key and tells the
// other processes when the user changes it. A toolkit widget wraps one, shows its state and
// hands it what the user did; programmatic setters change only what is shown.
//
// The control reads its value again whenever settings are imported or reset. It holds no
// value until `updateValue` is called, which its owner does once it is configured.
class BoundControl {
public:
    using Action = std::function<void(BoundControl&)>;

    BoundControl(std::string prefKey, std::string notificationName,
                 BoundControlServices services = {});
    virtual ~BoundControl();
    // The import observer and pending posts refer to the control by address.
    BoundControl(const BoundControl&) = delete;
    BoundControl& operator=(const BoundControl&) = delete;

    // The key that is read and written, which may differ from the configured one.
    virtual std::string prefKey() const { return prefKey_; }
    void setPrefKey(std::string key) { prefKey_ = std::move(key); }
    const std::string& notificationName() const { return notificationName_; }
    void setNotificationName(std::string name) { notificationName_ = std::move(name); }
    const std::string& notificationKey() const { return notificationKey_; }
    void setNotificationKey(std::string key) { notificationKey_ = std::move(key); }

    // Shows what is stored now.
    virtual void updateValue() = 0;

    // Called with the control after each change by the user.
    void addTarget(Action selector);
    template <class Target, class Sender>
    void addTarget(Target& target, void (Target::*selector)(Sender&)) {
        addTarget([&target, selector](BoundControl& sender) {
            (target.*selector)(static_cast<Sender&>(sender));
        });
    }

protected:
    // Stores the value (null removes it), posts and calls the targets, in that order. A value
    // the store refuses or cannot write is neither posted nor handed to the targets.
    void commit(const Value& value);
    bool store(const Value& value);
    void callTargets();
    // Posts `notificationName`, when there is one.
    void post();
    virtual Value notificationUserInfo() const { return {}; }

    bool isMenubarDark() const;
    MainQueue* queue() const { return services_.queue; }

private:
    std::string prefKey_;
    std::string notificationName_;
    std::string notificationKey_;
    BoundControlServices services_;
    std::vector<Action> targets_;
    Observation imported_;
};

// A check box; stores its state as an integer, 1 or 0.
class CVBCheckbox : public BoundControl {
public:
    using BoundControl::BoundControl;

    bool checked() const { return checked_; }
    void setChecked(bool checked) { checked_ = checked; }
    void userSetChecked(bool checked);
    void updateValue() override;

private:
    bool checked_ = false;
};

// The check box of the maker's shared controls; it behaves as the product's own.
class HLVCheckbox : public CVBCheckbox {
public:
    using CVBCheckbox::CVBCheckbox;
};

// A pop-up menu. What it stores for the selected item depends on its kind.
class CVBPopUpButton : public BoundControl {
public:
    enum class Kind {
        Index,             // the position of the item
        StringBased,       // the title
        RepresentedObject, // the item's object; a number as an integer
        NumberInTitle,     // the number the title starts with
    };
    struct Item {
        std::string title;
        Value representedObject;
    };

    CVBPopUpButton(std::string prefKey, std::string notificationName, Kind kind = Kind::Index,
                   BoundControlServices services = {});

    Kind kind() const { return kind_; }
    bool stringBased() const { return kind_ == Kind::StringBased; }

    const std::vector<Item>& items() const { return items_; }
    // Replacing the items clears the selection.
    void setItems(std::vector<Item> items);
    void addItemWithTitle(std::string title, Value representedObject = {});

    std::optional<std::size_t> indexOfSelectedItem() const { return selected_; }
    std::string titleOfSelectedItem() const;
    // An index out of range selects nothing.
    void selectItemAtIndex(std::size_t index);
    void userSelectItemAtIndex(std::size_t index);
    void updateValue() override;

protected:
    Value notificationUserInfo() const override;

private:
    Value storedValue(std::size_t index) const;
    bool itemMatches(std::size_t index, const Value& stored) const;

    Kind kind_;
    std::vector<Item> items_;
    std::optional<std::size_t> selected_;
};

// A colour well. Picking a colour shows it at once in this process, but writes it to disk and
// tells the other processes only once the user has paused for 0.1 seconds, so that dragging in
// a colour picker costs one write and sends one notification.
class CVBColorWell : public BoundControl {
public:
    static constexpr double kPostDelay = 0.1;

    using BoundControl::BoundControl;
    // A write and post still waiting happen now rather than being lost.
    ~CVBColorWell() override;

    // In dark mode the well edits the "-Dark" variant of its key while the panel is dark.
    std::string prefKey() const override;
    bool darkMode() const { return darkMode_; }
    void setDarkMode(bool darkMode) { darkMode_ = darkMode; }
    // Shown when the key has neither a stored value nor a default.
    const std::optional<Color>& defaultColor() const { return defaultColor_; }
    void setDefaultColor(std::optional<Color> color) { defaultColor_ = color; }

    const Color& color() const { return color_; }
    void setColor(const Color& color) { color_ = color; }
    void userSetColor(const Color& color);
    void updateValue() override;

private:
    void postLater();
    // Writes the domain, then posts.
    void settle();

    bool darkMode_ = false;
    std::optional<Color> defaultColor_;
    Color color_ = Color::black();
    std::optional<MainQueue::TimerId> pendingPost_;
};

// A slider between a minimum and a maximum; stores its value as a real number.
class CVBSlider : public BoundControl {
public:
    CVBSlider(std::string prefKey, std::string notificationName, double minValue, double maxValue,
              BoundControlServices services = {});

    double minValue() const { return minValue_; }
    double maxValue() const { return maxValue_; }
    double doubleValue() const { return value_; }
    // Values outside the range are shown at its ends.
    void setDoubleValue(double value);
    void userSetDoubleValue(double value);
    void updateValue() override;

private:
    double minValue_;
    double maxValue_;
    double value_ = 0.0;
};

// The slider of the menu-bar graph opacities, from fully clear to opaque.
class OpacitySlider : public CVBSlider {
public:
    OpacitySlider(std::string prefKey, std::string notificationName,
                  BoundControlServices services = {})
        : CVBSlider(std::move(prefKey), std::move(notificationName), 0.0, 1.0,
                    std::move(services)) {}
};

} // namespace corvane
