#include "window/SettingsFileDialogs.h"

namespace corvane {

SettingsFileDialogs::SettingsFileDialogs(Gtk::Window& parent, SettingsFileFlow& flow,
                                         std::function<std::string(const std::string&)> translate)
    : parent_(parent)
    , flow_(flow)
    , tr_(std::move(translate)) {}

void SettingsFileDialogs::exportSettings() {
    chooser_ = Gtk::FileChooserNative::create(tr_("Export Settings"), parent_,
                                              Gtk::FileChooser::Action::SAVE, tr_("Export"),
                                              tr_("Cancel"));
    chooser_->set_current_name("Corvane Bar Settings.cvbp");
    chooser_->signal_response().connect([this](int response) {
        const auto file = chooser_->get_file();
        if (response != static_cast<int>(Gtk::ResponseType::ACCEPT) || !file)
            return;
        const auto outcome = flow_.exportTo(file->get_path());
        tell(outcome.message, !outcome.done);
    });
    chooser_->show();
}

void SettingsFileDialogs::importSettings() {
    chooser_ = Gtk::FileChooserNative::create(tr_("Import Settings"), parent_,
                                              Gtk::FileChooser::Action::OPEN, tr_("Import"),
                                              tr_("Cancel"));
    auto filter = Gtk::FileFilter::create();
    filter->set_name(tr_("Corvane Bar settings"));
    filter->add_pattern("*.cvbp");
    chooser_->add_filter(filter);
    chooser_->signal_response().connect([this](int response) {
        const auto file = chooser_->get_file();
        if (response == static_cast<int>(Gtk::ResponseType::ACCEPT) && file)
            confirmImport(file->get_path());
    });
    chooser_->show();
}

void SettingsFileDialogs::confirmImport(const std::filesystem::path& file) {
    // A file of another kind is refused before anyone is asked about it.
    if (file.extension() != ".cvbp") {
        tell(flow_.importFrom(file).message, true);
        return;
    }
    ask(SettingsFileFlow::importQuestion(file), tr_("Import"), [this, file] {
        const auto outcome = flow_.importFrom(file);
        tell(outcome.message, !outcome.done);
    });
}

void SettingsFileDialogs::resetSettings() {
    ask(SettingsFileFlow::resetQuestion(), tr_("Reset"), [this] {
        const auto outcome = flow_.reset();
        tell(outcome.message, !outcome.done);
    });
}

void SettingsFileDialogs::ask(const std::string& question, const std::string& action,
                              std::function<void()> confirmed) {
    dialog_ = std::make_unique<Gtk::MessageDialog>(
        parent_, question, false, Gtk::MessageType::QUESTION, Gtk::ButtonsType::NONE, true);
    dialog_->add_button(tr_("Cancel"), Gtk::ResponseType::CANCEL);
    dialog_->add_button(action, Gtk::ResponseType::ACCEPT);
    dialog_->signal_response().connect([this, confirmed](int response) {
        dialog_->hide();
        if (response == static_cast<int>(Gtk::ResponseType::ACCEPT))
            Glib::signal_idle().connect_once(confirmed);
    });
    dialog_->show();
}

void SettingsFileDialogs::tell(const std::string& text, bool error) {
    dialog_ = std::make_unique<Gtk::MessageDialog>(
        parent_, text, false, error ? Gtk::MessageType::ERROR : Gtk::MessageType::INFO,
        Gtk::ButtonsType::OK, true);
    dialog_->signal_response().connect([this](int) { dialog_->hide(); });
    dialog_->show();
}

} // namespace corvane
