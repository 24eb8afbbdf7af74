#pragma once

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <QString>
#include <filesystem>
#include <string>

namespace nivex::desktop {

/// A text of ours as the toolkit shows it.
inline QString shown(const std::string& text) { return QString::fromStdString(text); }
inline QString shown(Text text) { return QString::fromStdString(text.localized()); }
inline QString shown(const std::filesystem::path& path) { return QString::fromStdString(shownPath(path)); }

/// A path that the toolkit gives, with the bytes that the system knows it by.
inline std::filesystem::path pathOf(const QString& path) { return path.toLocal8Bit().toStdString(); }

} // namespace nivex::desktop
