#include "window/SensorListView.h"

#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "text/SensorFormatters.h"
#include "window/AdwRows.h"

#include <adwaita.h>

namespace corvane {

namespace {

constexpr unsigned kRefreshSeconds = 2;

} // namespace

struct SensorListView::Line {
    std::shared_ptr<SensorStatCollectorItem> sensor;
    AdwActionRow* row = nullptr;
    Gtk::CheckButton* panel = nullptr;
    Gtk::CheckButton* dropdown = nullptr;
    Gtk::Entry* name = nullptr;
};

SensorListView::SensorListView(WindowServices& services)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 18)
    , services_(services) {
    auto& sensors = SensorsStatCollectorLinux::sharedSensorCollector(services.engine);
    list_ = std::make_unique<SensorsList>(services.preferences, sensors, &services.distributed);
    list_->seedMenubarItems();
    const auto rows = list_->rows();
    Gtk::Widget* group = nullptr;
    for (const auto& row : rows) {
        if (!row.sensor) {
            const std::string heading =
                row.heading.empty() ? "OTHER SENSORS" : services_.translate(row.heading);
            group = &adw::group(heading);
            append(*group);
            continue;
        }
        addLine(*group, row);
    }
    if (rows.empty()) {
        auto& none = adw::group(services_.translate("Sensors"));
        adw::addToGroup(
            none,
            adw::actionRow(services_.translate("No sensors were found on this machine."), nullptr));
        append(none);
    }
    refresh();
    timer_ = Glib::signal_timeout().connect_seconds(
        [this] {
            refresh();
            return true;
        },
        kRefreshSeconds);
}

SensorListView::~SensorListView() {
    timer_.disconnect();
}

void SensorListView::addLine(Gtk::Widget& group, const SensorPageRow& row) {
    auto line = std::make_unique<Line>();
    line->sensor = row.sensor;
    GtkWidget* widget = adw_action_row_new();
    adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(widget), FALSE);
    line->row = ADW_ACTION_ROW(widget);
    const std::string key = row.sensor->key();

    line->panel = Gtk::make_managed<Gtk::CheckButton>(services_.translate("Panel"));
    line->panel->set_tooltip_text(services_.translate("Shown in the panel item"));
    line->panel->signal_toggled().connect([this, key, panel = line->panel] {
        if (!showing_ && !list_->setInPanel(key, panel->get_active()))
            refresh();
    });
    line->dropdown = Gtk::make_managed<Gtk::CheckButton>(services_.translate("Dropdown"));
    line->dropdown->set_tooltip_text(services_.translate("Listed in the dropdown"));
    line->dropdown->signal_toggled().connect([this, key, dropdown = line->dropdown] {
        if (!showing_ && !list_->setHidden(key, !dropdown->get_active()))
            refresh();
    });
    for (Gtk::Widget* suffix : {&renameButton(*line), static_cast<Gtk::Widget*>(line->dropdown),
                                static_cast<Gtk::Widget*>(line->panel)}) {
        suffix->set_valign(Gtk::Align::CENTER);
        adw_action_row_add_suffix(line->row, suffix->gobj());
    }
    adw::addToGroup(group, *Gtk::manage(Glib::wrap(widget)));
    lines_.push_back(std::move(line));
}

Gtk::Widget& SensorListView::renameButton(Line& line) {
    auto* button = Gtk::make_managed<Gtk::MenuButton>();
    button->set_icon_name("document-edit-symbolic");
    button->set_has_frame(false);
    button->set_tooltip_text(services_.translate("Rename"));
    setAccessibleLabel(*button, services_.translate("Rename"));
    auto* popover = Gtk::make_managed<Gtk::Popover>();
    line.name = Gtk::make_managed<Gtk::Entry>();
    line.name->set_placeholder_text(line.sensor->name);
    line.name->set_width_chars(24);
    popover->set_child(*line.name);
    button->set_popover(*popover);
    const std::string key = line.sensor->key();
    line.name->signal_activate().connect([this, key, entry = line.name, popover] {
        list_->setName(key, entry->get_text());
        popover->popdown();
        refresh();
    });
    return *button;
}

void SensorListView::refresh() {
    showing_ = true;
    const TextContext text = text_.with(services_.preferences);
    for (const auto& row : list_->rows()) {
        if (!row.sensor)
            continue;
        for (const auto& line : lines_) {
            if (line->sensor->key() != row.sensor->key())
                continue;
            adw_preferences_row_set_title(ADW_PREFERENCES_ROW(line->row), row.name.c_str());
            const std::string value = formattedSensor(text, row.sensor.get());
            adw_action_row_set_subtitle(line->row, value.c_str());
            line->panel->set_active(row.inPanel);
            line->dropdown->set_active(!row.hidden);
            if (!line->name->get_mapped()) // not while the user types
                line->name->set_text(row.name == row.sensor->name ? "" : row.name);
        }
    }
    showing_ = false;
}

} // namespace corvane
