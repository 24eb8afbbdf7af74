#pragma once

#include "NIVEX/Desktop/QtMainLoop.hpp"
#include "NIVEX/Model/AppModel.hpp"
#include "NIVEX/Model/ConversionCenter.hpp"
#include "NIVEX/Model/DesktopState.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace nivex::desktop {

class MainWindow;

/// What lives as long as the program with windows: the model, the files that were put in, what is remembered, and the
/// window that shows them. Main thread only.
class Application {
public:
    explicit Application(const Environment& environment);
    ~Application();

    AppModel& model() { return model_; }
    ConversionCenter& center() { return center_; }
    MainWindow& window() { return *window_; }

    const Preferences& preferences() const { return preferences_; }
    /// Changes the preferences for good, and what runs by them at once.
    void changePreferences(const std::function<void(Preferences&)>& change);

    const DesktopState& state() const { return state_; }
    void changeState(const std::function<void(DesktopState&)>& change);

    /// Puts files in and brings the window to the front.
    void open(std::vector<std::filesystem::path> files);
    /// Shows the window, without files.
    void activate();

    /// The settings to begin with for an offer.
    OptionOverrides settingsFor(const TargetOffer& offer) const;

private:
    void applyPreferences();
    void showWindow();

    QtMainLoop mainLoop_;
    AppModel model_;
    Preferences preferences_;
    DesktopStateFile stateFile_;
    DesktopState state_;
    ConversionCenter center_;
    std::unique_ptr<MainWindow> window_;
};

} // namespace nivex::desktop
