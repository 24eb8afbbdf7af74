#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Look/Style.hpp"

#include "NivexKit/Foundation/Files/StandardDescriptors.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"

#include <QApplication>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace nivex;

/// How long an engine that was left behind may take to notice.
constexpr std::chrono::milliseconds patience{500};

/// As the person's desktop is.
Appearance appearanceOf(const QApplication& application)
{
    return application.palette().color(QPalette::Window).lightness() < 128 ? Appearance::dark : Appearance::light;
}

int run(int argumentCount, char** arguments)
{
    QApplication application{argumentCount, arguments};
    QApplication::setApplicationName(QStringLiteral("NIVEX"));
    QApplication::setDesktopFileName(QStringLiteral("nivex"));
    QApplication::setStyle(new desktop::Style);
    const auto wanted = processEnvironment()("NIVEX_APPEARANCE");
    desktop::Look::use(wanted == "dark"    ? Appearance::dark
                       : wanted == "light" ? Appearance::light
                                           : appearanceOf(application),
                       application);
    std::vector<std::filesystem::path> files;
    for (const QString& argument : QApplication::arguments().mid(1))
        files.push_back(std::filesystem::absolute(desktop::pathOf(argument)));
    desktop::Application nivex{processEnvironment()};
    nivex.open(std::move(files));
    return QApplication::exec();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    openStandardDescriptors();
    const int status = run(argumentCount, arguments);
    if (operationsHaveEnded(patience))
        return status;
    std::fflush(nullptr);
    std::_Exit(status); // returning would destroy the constant tables under what still runs
}
