#pragma once
// The content of the main window: the surface models of the loaded codecs
// (gui/SurfaceListModel.h), one row each (its picture and its texts, in the
// flow layout), or the one line that says how to load some. A thin view: it
// shows what the model holds and has no state of its own.

#include "codec/CodecSurfaces.h"
#include "gui/SurfaceListModel.h"

#include <QWidget>

class QStackedLayout;
class QVBoxLayout;

class CSurfaceListView final : public QWidget
{
    Q_OBJECT

public:
    explicit CSurfaceListView(QWidget* parent = nullptr);

    // Shows the models of list; only new ones are added.
    void Refresh(const TCodecSurfaceList& list);
    const CSurfaceListModel& GetModel() const { return fModel; }

private:
    QWidget* MakeRow(const TSurfaceEntry& entry);

    CSurfaceListModel fModel;
    QStackedLayout* fPages; // the empty list's text, or the rows
    QVBoxLayout* fRows;
};
