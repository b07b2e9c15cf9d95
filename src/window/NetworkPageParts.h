#pragma once

#include "window/ControlWidgets.h"
#include "window/PageControls.h"
#include "window/WindowServices.h"

#include <gtkmm.h>
#include <memory>
#include <vector>

namespace corvane {

class NetworkController;

// The rows of the Network page that its table cannot list, since they depend on the services
// there now or do more than store a value: which interface the item counts and which services
// the dropdown shows; the address the status dot pings, with a test of the user's own; the
// public address. The bound rows join `controls`, their widgets `widgets`.
void addNetworkParts(Gtk::Box& box, PageControls& controls,
                     std::vector<std::unique_ptr<ControlWidget>>& widgets, WindowServices& services,
                     NetworkController* owner);

} // namespace corvane
