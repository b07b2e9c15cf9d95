#pragma once

#include "foundation/NotificationCenter.h"
#include "shell/BoundControls.h"
#include "window/PageDescription.h"

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace corvane {

// A row of a page with the controls that store it: one, or two for a colour that has a
// variant for dark panels.
struct BoundRow {
    ControlDescription description;
    std::unique_ptr<BoundControl> control;
    std::unique_ptr<BoundControl> dark; // null unless the colour has a "-Dark" key
};

// The binder of a page: a bound control for each row of its table, each storing its key and
// posting that key's section notification as the command line's writes do. It reads the
// values again when settings are imported or reset here, or changed by another process, and
// then tells `refreshed` so that the widgets show them.
class PageControls {
public:
    PageControls(const PageDescription& page, BoundControlServices services = {});
    ~PageControls();
    PageControls(const PageControls&) = delete;
    PageControls& operator=(const PageControls&) = delete;

    // A deque: the widgets hold their rows by reference while rows are added.
    std::deque<BoundRow>& rows() { return rows_; }
    // A row the page's table cannot list, as one per connected device; read again with the
    // others. Its widget is the page's to make.
    BoundRow& addRow(ControlDescription description, std::unique_ptr<BoundControl> control);
    // The row that stores `key` (a dark key finds its row); null when none does.
    BoundRow* rowForKey(const std::string& key);
    void setRefreshed(std::function<void()> refreshed) { refreshed_ = std::move(refreshed); }

    // Forgets the cached values of every key of the page, reads them again and tells.
    void reload();
    // The same for one key, when another process says which one changed.
    void reloadKey(const std::string& key);

private:
    std::unique_ptr<BoundControl> makeControl(const ControlDescription& description,
                                              const std::string& key,
                                              const BoundControlServices& services) const;
    void observe(const BoundControlServices& services);

    std::deque<BoundRow> rows_;
    std::function<void()> refreshed_;
    std::vector<Observation> observations_;
};

} // namespace corvane
