#include "window/MainWindow.h"

#include "window/AdwRows.h"
#include "window/WindowPage.h"

namespace corvane {

namespace {

constexpr int kSidebarWidth = 240;

} // namespace

MainWindow::MainWindow(SourceListView::Select select)
    : sourceList_(std::move(select))
    , content_(Gtk::Orientation::VERTICAL)
    , footer_(Gtk::Orientation::VERTICAL, 2) {
    set_title("Corvane Bar");
    set_default_size(980, 720);
    set_icon_name("com.halvorn.corvanebar");

    auto* header = Gtk::make_managed<Gtk::HeaderBar>();
    menuButton_.set_icon_name("open-menu-symbolic");
    menuButton_.set_primary(true);
    menuButton_.set_tooltip_text("Main Menu");
    setAccessibleLabel(menuButton_, "Main Menu");
    header->pack_end(menuButton_);
    set_titlebar(*header);

    auto* sidebar = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
    sidebar->set_size_request(kSidebarWidth, -1);
    auto* scroller = Gtk::make_managed<Gtk::ScrolledWindow>();
    scroller->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller->set_child(sourceList_.widget());
    scroller->set_vexpand(true);
    sidebar->append(*scroller);
    footer_.set_margin(12);
    sidebar->append(footer_);

    auto* body = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL);
    body->append(*sidebar);
    body->append(*Gtk::make_managed<Gtk::Separator>(Gtk::Orientation::VERTICAL));
    content_.set_hexpand(true);
    body->append(content_);
    set_child(*body);
}

void MainWindow::removeAllSubviews() {
    SectionViewContainer::removeAllSubviews();
    if (current_)
        content_.remove(current_->widget());
    current_ = nullptr;
}

void MainWindow::addSubview(SectionPage& page) {
    SectionViewContainer::addSubview(page);
    auto* windowPage = dynamic_cast<WindowPage*>(&page);
    if (!windowPage)
        return;
    if (current_)
        content_.remove(current_->widget());
    current_ = windowPage;
    content_.append(windowPage->widget());
    setAccessibleLabel(windowPage->widget(), page.accessibilityLabel);
    windowPage->showValues();
}

void MainWindow::setMenu(const Glib::RefPtr<Gio::MenuModel>& menu) {
    menuButton_.set_menu_model(menu);
}

void MainWindow::setVersionLabels(const std::vector<std::string>& labels) {
    while (Gtk::Widget* child = footer_.get_first_child())
        footer_.remove(*child);
    for (const auto& text : labels) {
        if (text.empty())
            continue;
        auto* label = Gtk::make_managed<Gtk::Label>(text);
        label->set_xalign(0);
        label->add_css_class("dim-label");
        label->add_css_class("caption");
        label->set_selectable(false);
        footer_.append(*label);
    }
}

} // namespace corvane
