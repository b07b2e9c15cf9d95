#pragma once

#include "shell/SensorsController.h"
#include "text/TextContext.h"
#include "window/WindowServices.h"

#include <gtkmm.h>
#include <memory>
#include <vector>

namespace corvane {

// The sensors page's list: every sensor under its heading with its present value, whether the
// panel item shows it, whether the dropdown lists it, and the name the user gave it. The
// values and the stored choices are put on screen again every two seconds, so an import or
// another program's change shows without a signal of its own.
class SensorListView final : public Gtk::Box {
public:
    explicit SensorListView(WindowServices& services);
    ~SensorListView() override;

private:
    struct Line;
    void addLine(Gtk::Widget& group, const SensorPageRow& row);
    Gtk::Widget& renameButton(Line& line);
    // Values, names and ticks as they are now; stores nothing.
    void refresh();

    WindowServices& services_;
    TextCaches text_;
    std::unique_ptr<SensorsList> list_;
    std::vector<std::unique_ptr<Line>> lines_;
    sigc::connection timer_;
    bool showing_ = false;
};

} // namespace corvane
