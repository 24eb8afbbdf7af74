#pragma once

#include <QWidget>

class QFormLayout;
class QVBoxLayout;

namespace nivex::desktop {

class Application;
class OptionFields;

/// What holds for all conversions and for the program; every change holds at once.
class SettingsPage : public QWidget {
public:
    explicit SettingsPage(Application& application);

private:
    QFormLayout* section(QVBoxLayout& layout, const QString& title);
    void addGeneral(QFormLayout& form);
    void addPrivacy(QFormLayout& form);
    void addIsolation(QFormLayout& form);
    void addAbout(QFormLayout& form);
    QWidget* destinationField();

    Application& application_;
};

} // namespace nivex::desktop
