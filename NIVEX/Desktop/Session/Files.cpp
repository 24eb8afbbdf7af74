#include "NIVEX/Desktop/Session/Files.hpp"

#include "NIVEX/Desktop/Look/Shown.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

namespace nivex::desktop {
namespace {

QUrl urlOf(const std::filesystem::path& file)
{
    return QUrl::fromLocalFile(QString::fromLocal8Bit(QByteArray::fromStdString(file.native())));
}

void openFolderOf(const std::filesystem::path& file) { QDesktopServices::openUrl(urlOf(file.parent_path())); }

} // namespace

Intake Intake::of(const QMimeData& data)
{
    Intake intake;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile())
            intake.files.push_back(pathOf(url.toLocalFile()));
        else
            intake.problem = shown(
                "NIVEX ne convertit que des fichiers de cette machine : enregistrez d’abord ce qui est en ligne."_fr);
    }
    if (intake.files.empty() && intake.problem.isEmpty())
        intake.problem = shown("Cet élément n’est pas un fichier."_fr);
    return intake;
}

void openFile(const std::filesystem::path& file) { QDesktopServices::openUrl(urlOf(file)); }

void showInFolder(const std::vector<std::filesystem::path>& files)
{
    if (files.empty())
        return;
    QStringList urls;
    for (const std::filesystem::path& file : files)
        urls << urlOf(file).toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << urls << QString{};
    auto* watcher = new QDBusPendingCallWatcher{QDBusConnection::sessionBus().asyncCall(call), qApp};
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, first = files.front()](QDBusPendingCallWatcher*) {
                         if (QDBusPendingReply<>{*watcher}.isError())
                             openFolderOf(first);
                         watcher->deleteLater();
                     });
}

} // namespace nivex::desktop
