#pragma once

#include "drawing/CVBModuleView.h"

#include <memory>
#include <vector>

namespace corvane {

class SensorsStatCollector;
class SensorStatCollectorItem;

// The sensors item: the sensors the user picked for the panel as text, one after another or
// stacked in pairs, with the fan picture and the label where the mode list asks for them.
class CVBSensorsMenuExtraView : public CVBModuleView {
public:
    // A picked sensor with its record ("key", optional "decimals" and "suffix").
    struct Shown {
        std::shared_ptr<SensorStatCollectorItem> item;
        Value record;
    };

    // The collector is not owned and must outlive the view.
    CVBSensorsMenuExtraView(const DrawingContext& context, SensorsStatCollector& sensors);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The records of "Sensors_MenubarItems" whose sensors exist, in its order (the default
    // sensors while it is empty); drive temperatures only while the drives are monitored.
    std::vector<Shown> menubarSensors() const;
    // Forgets every remembered text width, so the item may shrink.
    void resetSavedWidths();
    // The dropdown's graph of the panel's sensors (at most `kGraphedSensors`), one line each
    // over a tier's ring with `perColumn` samples averaged in each of `columns`; a sensor runs
    // between its fixed limits, else between the lowest and highest value in the picture.
    static constexpr std::size_t kGraphedSensors = 3;
    HistoryGraph dropdownHistory(int tier, int columns, std::int64_t perColumn) const;

private:
    int drawEntry(const Value& entry, const std::vector<Shown>& shown, int offset);
    int drawText(const std::vector<Shown>& shown, int offset);
    int drawStacked(const std::vector<Shown>& shown, int offset);

    SensorsStatCollector& sensors_;
};

} // namespace corvane
