#include "window/WindowApplication.h"

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"
#include "shell/Corvane_BarAppDelegate.h"
#include "shell/SectionCommands.h"
#include "shell/SectionController.h"
#include "shell/SectionItems.h"
#include "shell/SectionManager.h"
#include "window/AdwRows.h"
#include "window/ClockStartupCollectors.h"
#include "window/DialogOverlay.h"
#include "window/InstallerPage.h"
#include "window/MainWindow.h"
#include "window/MenuBridge.h"
#include "window/SettingsFileDialogs.h"
#include "window/WindowPage.h"

namespace corvane {

namespace {

// The window's parts as the application delegate drives them.
class WindowPeer final : public ApplicationWindow {
public:
    WindowPeer(MainWindow& window, Gtk::Application& application)
        : window_(window)
        , application_(application) {}
    void show() override { window_.present(); }
    SectionWindow* sectionWindow() override { return &window_.sourceList(); }
    SectionViewContainer* sectionViewContainer() override { return &window_; }
    SourceList* sourceList() override { return &window_.sourceList(); }
    void quit() override { application_.quit(); }

private:
    MainWindow& window_;
    Gtk::Application& application_;
};

class WindowActivator final : public ApplicationActivator {
public:
    explicit WindowActivator(MainWindow& window)
        : window_(window) {}
    void bringForward() override { window_.present(); }

private:
    MainWindow& window_;
};

} // namespace

Glib::RefPtr<WindowApplication> WindowApplication::create(WindowOptions options) {
    return Glib::make_refptr_for_instance(new WindowApplication(std::move(options)));
}

WindowApplication::WindowApplication(WindowOptions options)
    : Gtk::Application(kApplicationId, Gio::Application::Flags::HANDLES_OPEN)
    , options_(std::move(options)) {}

WindowApplication::~WindowApplication() = default;

int WindowApplication::runOrForward() {
    if (!register_application()) {
        g_printerr("corvanebar window: the session bus refused the application's name\n");
        return 1;
    }
    if (is_remote()) {
        if (!options_.files.empty()) {
            std::vector<Glib::RefPtr<Gio::File>> files;
            for (const auto& path : options_.files)
                files.push_back(Gio::File::create_for_path(path));
            open(files);
        } else {
            activate_action("show-section", Glib::Variant<Glib::ustring>::create(options_.section));
        }
        return 0;
    }
    char name[] = "corvanebar";
    char* argv[] = {name, nullptr};
    return run(1, argv);
}

SectionController* WindowApplication::sectionNamed(const std::string& name) {
    for (SectionController* section : SectionManager::sharedSectionManager().sections()) {
        if (SectionCommands::shortName(*section) == name)
            return section;
    }
    return nullptr;
}

void WindowApplication::showSection(const std::string& name) {
    if (SectionController* section = name.empty() ? nullptr : sectionNamed(name))
        SectionManager::sharedSectionManager().selectItem(section->sourceItem());
    else if (!name.empty())
        g_printerr("corvanebar window: no section is called \"%s\"\n", name.c_str());
    if (window_)
        window_->present();
}

void WindowApplication::on_startup() {
    Gtk::Application::on_startup();
    adw::initialize(options_.style);
    buildServices();
    buildWindow();
    add_action_with_parameter(
        "show-section", Glib::VARIANT_TYPE_STRING, [this](const Glib::VariantBase& parameter) {
            showSection(
                Glib::VariantBase::cast_dynamic<Glib::Variant<Glib::ustring>>(parameter).get());
        });
}

void WindowApplication::buildServices() {
    auto& preferences = CVBPreferences::sharedPreferences();
    auto& distributed = DistributedNotificationCenter::defaultCenter();
    services_ = std::make_unique<WindowServices>(WindowServices{
        preferences, artwork_, EngineContext{queue_, kSettingsTierCount, nullptr}, distributed,
        [this, &preferences](const std::string& key) {
            // The window's own texts, else those it shares with the pages of earlier versions.
            const TextContext text = text_.with(preferences);
            return HLVLocalizedString(
                text, key, HLVLocalizedString(text, key, std::nullopt, "prefs"), "window");
        },
        [this] { dialogs_->exportSettings(); }, [this] { dialogs_->importSettings(); },
        [this] { dialogs_->resetSettings(); },
        [this] { overlay_->showWithView(*installer_->view()); }});
    restarter_ = std::make_unique<SystemStatusItemRestarter>();
    flow_ = std::make_unique<SettingsFileFlow>(preferences, *restarter_, distributed);
}

void WindowApplication::buildWindow() {
    auto& preferences = CVBPreferences::sharedPreferences();
    window_ = new MainWindow(
        [](SourceListItem& item) { SectionManager::sharedSectionManager().selectItem(item); });
    add_window(*window_);
    dialogs_ = std::make_unique<SettingsFileDialogs>(*window_, *flow_, services_->translate);
    installer_ = std::make_shared<InstallerPage>();
    overlay_ = std::make_shared<DialogOverlay>(*window_, *installer_, services_->translate);
    overlay_->setClosed([this] {
        if (WindowPage* page = window_->currentPage())
            page->showValues();
    });

    SectionServices sections;
    sections.center = preferences.environment().center;
    sections.distributedCenter = &services_->distributed;
    sections.overlay = overlay_;
    sections.activator = std::make_shared<WindowActivator>(*window_);
    sections.pages = std::make_shared<WindowPageFactory>(*services_);
    SectionManager::install(std::make_unique<SectionManager>(std::move(sections)));

    AppDelegatePeers peers;
    peers.window = std::make_shared<WindowPeer>(*window_, *this);
    peers.installer = installer_;
    peers.collectors = std::make_shared<ClockStartupCollectors>(queue_);
    delegate_ = std::make_unique<Corvane_BarAppDelegate>(preferences, queue_,
                                                         *preferences.environment().center,
                                                         services_->distributed, std::move(peers));
    delegate_->applicationWillFinishLaunching();
    menus_ = std::make_unique<MenuBridge>(*this, delegate_->menus().mainMenu());
    window_->setMenu(menus_->menu());
    delegate_->applicationDidFinishLaunching();
    window_->signal_close_request().connect(
        [this] {
            delegate_->windowWillClose();
            return false;
        },
        false);
    updateFooter();
    footerTimer_ = Glib::signal_timeout().connect_seconds(
        [this] {
            updateFooter();
            return true;
        },
        2);
}

void WindowApplication::updateFooter() {
    window_->setVersionLabels({delegate_->versionLabel(), delegate_->statusItemLabel(),
                               delegate_->agentLabel(), delegate_->daemonLabel()});
}

void WindowApplication::tellSetAsideSettings() {
    if (const auto aside = CVBPreferences::sharedPreferences().setAsideCopy())
        dialogs_->tell("The settings file could not be read and was set aside as " +
                           aside->string() + "; the settings started again from their defaults.",
                       true);
}

void WindowApplication::writeScreenshot() {
    GtkWidget* window = GTK_WIDGET(window_->gobj());
    const int width = gtk_widget_get_width(window);
    const int height = gtk_widget_get_height(window);
    GdkPaintable* paintable = gtk_widget_paintable_new(window);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    bool written = false;
    if (node) {
        GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(window));
        GdkTexture* texture = gsk_renderer_render_texture(renderer, node, nullptr);
        written = gdk_texture_save_to_png(texture, options_.screenshot.c_str()) != FALSE;
        g_object_unref(texture);
        gsk_render_node_unref(node);
    }
    g_object_unref(paintable);
    if (!written)
        g_printerr("corvanebar window: cannot write %s\n", options_.screenshot.c_str());
    quit();
}

void WindowApplication::on_activate() {
    if (!options_.screenshot.empty())
        Glib::signal_timeout().connect_once([this] { writeScreenshot(); }, 1500);
    showSection(options_.section);
    tellSetAsideSettings();
    for (const auto& file : options_.files)
        dialogs_->confirmImport(file);
    options_.files.clear();
}

void WindowApplication::on_open(const type_vec_files& files, const Glib::ustring&) {
    showSection({});
    for (const auto& file : files)
        dialogs_->confirmImport(file->get_path());
}

void WindowApplication::on_shutdown() {
    footerTimer_.disconnect();
    menus_.reset();
    delegate_.reset();
    // The pages go before the window that shows them, and the collectors after the views.
    SectionManager::cleanup();
    cleanupSectionItems();
    if (window_) {
        remove_window(*window_);
        delete window_;
        window_ = nullptr;
    }
    Gtk::Application::on_shutdown();
}

} // namespace corvane
