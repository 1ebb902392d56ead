#include "gui/OpenFileDialog.h"

#include "gui/GuiText.h"

#include <QDir>

std::unique_ptr<QFileDialog> COpenFileDialogs::Make(const TOpenDialogRequest& request,
                                                    QWidget* parent) const
{
    auto dialog = std::make_unique<QFileDialog>(parent, ToQString(request.fPrompt));
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode((request.fFlags & kOpenDialogMultipleFiles) != 0
                            ? QFileDialog::ExistingFiles
                            : QFileDialog::ExistingFile);
    QStringList filters;
    for (const TFileType& type : request.fFileTypes)
        filters << QStringLiteral("%1 (*%2)")
                       .arg(ToQString(type.fDescription), ToQString(type.fExtension));
    dialog->setNameFilters(filters);
    const auto last = fLastFolders.find(request.fDialogId);
    const QString folder =
        last != fLastFolders.end() ? last->second : FromPath(request.fStartFolder);
    if (!folder.isEmpty() && QDir(folder).exists())
        dialog->setDirectory(folder);
    dialog->setAccessibleName(ToQString(request.fPrompt));
    return dialog;
}

std::vector<std::filesystem::path> COpenFileDialogs::Run(const TOpenDialogRequest& request,
                                                         QWidget* parent)
{
    const std::unique_ptr<QFileDialog> dialog = Make(request, parent);
    std::vector<std::filesystem::path> files;
    if (dialog->exec() != QDialog::Accepted)
        return files;
    fLastFolders[request.fDialogId] = dialog->directory().absolutePath();
    for (const QString& file : dialog->selectedFiles())
        files.push_back(ToPath(file));
    return files;
}
