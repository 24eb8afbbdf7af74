#pragma once

#include <QMimeData>
#include <QString>
#include <filesystem>
#include <vector>

namespace nivex::desktop {

/// What was dropped or pasted.
struct Intake {
    std::vector<std::filesystem::path> files;
    QString problem; // a sentence on what cannot be taken; empty where all can

    static Intake of(const QMimeData& data);
};

/// Opens a file with the program that the person has for it.
void openFile(const std::filesystem::path& file);

/// Has the file manager show files where they stand; where none answers, their folder is opened.
void showInFolder(const std::vector<std::filesystem::path>& files);

} // namespace nivex::desktop
