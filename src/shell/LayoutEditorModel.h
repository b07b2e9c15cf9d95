#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/NotificationCenter.h"
#include "shell/LayoutCatalogue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class CVBPreferences;

// One row of elements of a layout editor.
class GenericLayoutContainer {
public:
    explicit GenericLayoutContainer(std::vector<std::int64_t> allowedMultiples = {})
        : allowedMultiples_(std::move(allowedMultiples)) {}
    virtual ~GenericLayoutContainer() = default;
    GenericLayoutContainer(const GenericLayoutContainer&) = default;
    GenericLayoutContainer& operator=(const GenericLayoutContainer&) = default;

    const std::vector<ExtraLayoutItem>& layoutItems() const { return items_; }
    std::size_t size() const { return items_.size(); }
    const std::vector<std::int64_t>& allowedMultiples() const { return allowedMultiples_; }
    virtual bool allowsCopying() const { return false; }

    bool hasItemWithKey(std::int64_t key) const;
    // The uuid of each visible item that has one, joined by ",", in order.
    std::string preferenceValue() const;

    void removeAllItems() { items_.clear(); }
    void insertItem(ExtraLayoutItem item, std::size_t index);
    void appendItem(ExtraLayoutItem item) { items_.push_back(std::move(item)); }
    ExtraLayoutItem takeItem(std::size_t index);
    // Puts the item back among the others by its `defaultIndex`.
    void addItemToDefaultIndex(ExtraLayoutItem item);
    ExtraLayoutItem& itemAt(std::size_t index) { return items_.at(index); }

private:
    std::vector<ExtraLayoutItem> items_;
    std::vector<std::int64_t> allowedMultiples_;
};

// The row the panel item shows, in its order.
class ExtraLayoutContainerActive : public GenericLayoutContainer {
public:
    using GenericLayoutContainer::GenericLayoutContainer;
};

// The row of elements to choose from; an element that copies stays in it when placed.
class ExtraLayoutContainerAvailable : public GenericLayoutContainer {
public:
    using GenericLayoutContainer::GenericLayoutContainer;
    bool allowsCopying() const override { return true; }
};

// The layout editor of one section without its widgets: the available and active rows, filled
// from the section's mode key, the rules of dragging between them, and the active row written
// back as the mode list, with the section's notification, after each change. It reads the
// rows anew when another process writes the key.
class LayoutEditorModel {
public:
    enum class Outcome {
        Done,
        Refused,   // the request does not fit the rows; nothing changed
        NotStored, // the settings could not be written; the rows show what is stored
    };
    struct Result {
        Outcome outcome = Outcome::Done;
        std::string reason;
        explicit operator bool() const { return outcome == Outcome::Done; }
    };

    // `section` is a name of LayoutCatalogue::sectionNames(); any other gives empty rows that
    // refuse every change. The preferences and the centre must outlive the model.
    LayoutEditorModel(std::string section, CVBPreferences& preferences,
                      DistributedNotificationCenter& center);
    ~LayoutEditorModel();
    LayoutEditorModel(const LayoutEditorModel&) = delete;
    LayoutEditorModel& operator=(const LayoutEditorModel&) = delete;

    const SectionLayout& layout() const { return layout_; }
    CVBPreferences& preferences() const { return preferences_; }
    const ExtraLayoutContainerActive& active() const { return active_; }
    const ExtraLayoutContainerAvailable& available() const { return available_; }
    // False for a section whose item this version does not draw.
    bool editable() const { return layout_.drawnHere; }

    // Places an element of the available row at `position` of the active row (the end when
    // none). A copy stays behind when it copies; otherwise it leaves the available row.
    Result add(std::int64_t code, std::optional<std::size_t> position = std::nullopt);
    // Drops an active element outside the active row: it goes back to its place in the
    // available row unless a copy stands there already.
    Result remove(std::size_t index);
    // Moves an active element so that it stands at `to`.
    Result move(std::size_t from, std::size_t to);
    Result setSpacerWidth(std::size_t index, std::int64_t width);

    // The mode list the active row stands for: each entry the code plus the item's settings.
    Value modeList() const;
    // The notifications the last stored change posted, in order.
    const std::vector<std::string>& posted() const { return posted_; }

    // Called after the rows changed, through this model or because another process wrote the
    // key. One handler; a new one replaces it.
    void setChangeHandler(std::function<void()> handler) { changed_ = std::move(handler); }
    // Reads the rows anew from what is stored; tells the handler unless they show it already.
    void reload();

    // "History Graph", "Spacer, 4 points": for lists and accessible names; `widthFormat` is the
    // width in the reader's language.
    static std::string itemDescription(const ExtraLayoutItem& item,
                                       std::string_view widthFormat = "%@ points");

private:
    void updateLayoutItems();
    void updateAvailableItems();
    std::optional<ExtraLayoutItem> itemForEntry(const Value& entry, std::size_t index) const;
    Result layoutContainerUpdated();
    void announce();
    Result refused(std::string reason) const;
    std::optional<Result> refuseIfReadOnly() const;
    std::string positionText(std::size_t index) const;
    void observe();
    void heard(const Notification& notification);
    void notifyChanged();

    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    SectionLayout layout_;
    ExtraLayoutContainerActive active_;
    ExtraLayoutContainerAvailable available_;
    std::vector<std::string> posted_;
    std::function<void()> changed_;
    std::vector<Observation> observations_;
};

} // namespace corvane
