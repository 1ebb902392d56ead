#pragma once
// The open-file dialog of a command (host/Vistal.h): its prompt as the title,
// one filter for each file type ("description (*extension)"), single choice
// unless the request's flags ask for more, and opening in the folder where
// that kind of dialog (its id) was last, else in the request's start folder.
// Qt's own dialog, the same on every desktop, so that the accessibility tree
// and the pictures of the manual hold everywhere.

#include "host/Vistal.h"

#include <QFileDialog>

#include <filesystem>
#include <map>
#include <memory>
#include <vector>

// The request's flag bit that allows choosing several files.
inline constexpr u32 kOpenDialogMultipleFiles = 1;

class COpenFileDialogs
{
public:
    std::unique_ptr<QFileDialog> Make(const TOpenDialogRequest& request, QWidget* parent) const;
    // Shows the dialog and blocks: the chosen files, empty when cancelled.
    std::vector<std::filesystem::path> Run(const TOpenDialogRequest& request, QWidget* parent);

private:
    std::map<u32, QString> fLastFolders;
};
