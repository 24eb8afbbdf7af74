#include "NIVEX/Desktop/Application.hpp"

#include "NIVEX/Desktop/Window/MainWindow.hpp"
#include "NIVEX/Model/JobCount.hpp"
#include "NIVEX/Model/OptionForm.hpp"

#include <QLocale>

namespace nivex::desktop {

Application::Application(const Environment& environment)
    : model_{mainLoop_, environment}, preferences_{model_.preferences()},
      stateFile_{DesktopStateFile::defaultLocation(environment)}, state_{stateFile_.load()}, center_{model_.detector(),
                                                                                                     model_.planner(),
                                                                                                     model_.queue(),
                                                                                                     mainLoop_}
{
    center_.setKeepsDate(state_.keepsDate);
    applyPreferences();
    showWindow();
}

Application::~Application() = default;

void Application::applyPreferences()
{
    const Language language = preferences_.shownLanguage(model_.environment());
    showTextsIn(language);
    QLocale::setDefault(language == Language::english ? QLocale{QLocale::English, QLocale::UnitedKingdom}
                                                      : QLocale{QLocale::French, QLocale::France});
    center_.setPreferences(preferences_.options);
    center_.setDestination(preferences_.destination);
    model_.queue().setMaxConcurrentJobs(preferences_.jobs.value_or(jobsOfThisMachine()));
}

void Application::changePreferences(const std::function<void(Preferences&)>& change)
{
    const Preferences before = preferences_;
    change(preferences_);
    model_.preferencesFile().update(change); // where it cannot be kept it holds for as long as the program runs
    applyPreferences();
    if (preferences_.retention != before.retention)
        model_.history().setRetention(preferences_.retention);
    if (preferences_.language != before.language)
        showWindow();
}

void Application::changeState(const std::function<void(DesktopState&)>& change)
{
    change(state_);
    center_.setKeepsDate(state_.keepsDate);
    stateFile_.save(state_);
}

/// Anew in another language: every text of a window is made with it.
void Application::showWindow()
{
    window_ = std::make_unique<MainWindow>(*this);
    window_->show();
}

void Application::open(std::vector<std::filesystem::path> files)
{
    activate();
    window_->putIn(std::move(files));
}

void Application::activate()
{
    window_->show();
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->raise();
    window_->activateWindow();
}

OptionOverrides Application::settingsFor(const TargetOffer& offer) const
{
    const auto remembered = state_.settings.find(DesktopState::keyOf(offer.id()));
    return initialSettings(offer, remembered == state_.settings.end() ? OptionOverrides{} : remembered->second,
                           center_.files());
}

} // namespace nivex::desktop
