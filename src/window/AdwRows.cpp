#include "window/AdwRows.h"

#include <adwaita.h>

namespace corvane::adw {

namespace {

Gtk::Widget& managed(GtkWidget* widget) {
    return *Gtk::manage(Glib::wrap(widget));
}

} // namespace

void initialize(const std::string& scheme) {
    adw_init();
    AdwStyleManager* manager = adw_style_manager_get_default();
    AdwColorScheme chosen = ADW_COLOR_SCHEME_DEFAULT;
    if (scheme == "dark")
        chosen = ADW_COLOR_SCHEME_FORCE_DARK;
    else if (scheme == "light")
        chosen = ADW_COLOR_SCHEME_FORCE_LIGHT;
    adw_style_manager_set_color_scheme(manager, chosen);
}

bool prefersDark() {
    return adw_style_manager_get_dark(adw_style_manager_get_default()) != FALSE;
}

Gtk::Widget& group(const std::string& title, const std::string& description) {
    GtkWidget* widget = adw_preferences_group_new();
    if (!title.empty())
        adw_preferences_group_set_title(ADW_PREFERENCES_GROUP(widget), title.c_str());
    if (!description.empty())
        adw_preferences_group_set_description(ADW_PREFERENCES_GROUP(widget), description.c_str());
    return managed(widget);
}

void addToGroup(Gtk::Widget& group, Gtk::Widget& child) {
    adw_preferences_group_add(ADW_PREFERENCES_GROUP(group.gobj()), child.gobj());
}

Gtk::Widget& actionRow(const std::string& title, Gtk::Widget* suffix, const std::string& subtitle) {
    GtkWidget* row = adw_action_row_new();
    // Titles are plain text: "CPU & GPU" is no markup.
    adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title.c_str());
    if (!subtitle.empty())
        adw_action_row_set_subtitle(ADW_ACTION_ROW(row), subtitle.c_str());
    if (suffix) {
        suffix->set_valign(Gtk::Align::CENTER);
        adw_action_row_add_suffix(ADW_ACTION_ROW(row), suffix->gobj());
        adw_action_row_set_activatable_widget(ADW_ACTION_ROW(row), suffix->gobj());
        setAccessibleLabel(*suffix, title);
    }
    return managed(row);
}

Gtk::Widget& statusPage(const std::string& iconName, const std::string& title,
                        const std::string& description) {
    GtkWidget* page = adw_status_page_new();
    adw_status_page_set_icon_name(ADW_STATUS_PAGE(page), iconName.c_str());
    adw_status_page_set_title(ADW_STATUS_PAGE(page), title.c_str());
    // The description is markup; the texts are plain.
    gchar* escaped = g_markup_escape_text(description.c_str(), -1);
    adw_status_page_set_description(ADW_STATUS_PAGE(page), escaped);
    g_free(escaped);
    // Its scrolled area takes the focus, so that the keys can scroll it: the title names it.
    for (GtkWidget* child = gtk_widget_get_first_child(page); child;
         child = gtk_widget_get_next_sibling(child)) {
        if (GTK_IS_SCROLLED_WINDOW(child))
            gtk_accessible_update_property(GTK_ACCESSIBLE(child), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                           title.c_str(), -1);
    }
    return managed(page);
}

} // namespace corvane::adw

namespace corvane {

void setAccessibleLabel(Gtk::Widget& widget, const std::string& label) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   label.c_str(), -1);
}

} // namespace corvane
