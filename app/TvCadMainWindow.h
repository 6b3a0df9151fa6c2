// tvcad's main window: menus, toolbars with the layer control, the drawing area and the command
// line, over the session that the console uses too.
#pragma once

#include "TvCadDrawingSummary.h"
#include "TvCadLayerActions.h"

#include <QMainWindow>

#include <string>

class KdDbDatabase;
class QMenu;

namespace tvcad {

class TvCadApp;
class TvCadCommandLine;
class TvCadCommandRunner;
class TvCadDrawingArea;
class TvCadLayerControl;
class TvCadLayerModel;
class TvCadTextWindow;

/// Every command, from the command line, a menu or a toolbar, runs through the session's
/// command loop as on the console; menus that need a file show a file dialog first and give
/// the file as the command's answer. Keys typed while the window (not a field of it) has the
/// focus go to the command line. The window keeps its placement under "TvCadMainWindow".
class TvCadMainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit TvCadMainWindow(TvCadApp& app, QWidget* parent = nullptr);
    ~TvCadMainWindow() override;

    /// Prints the first prompt and shows what the session holds.
    void start();
    /// Brings the title, the layer control, the drawing area and the menus up to date with
    /// the session (after a command, a change made by the layer control, a dialog's
    /// tvSetLayerTableChanges).
    void refresh();

    TvCadCommandRunner& runner() { return *m_runner; }
    TvCadCommandLine& commandLine() { return *m_commandLine; }
    TvCadLayerControl& layerControl() { return *m_layerControl; }
    TvCadLayerModel& layerModel() { return *m_layers; }
    TvCadDrawingArea& drawingArea() { return *m_drawingArea; }
    TvCadTextWindow& textWindow() { return *m_textWindow; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createMenusAndToolbars();
    QAction* commandAction(const QString& text, const QString& command, const char* icon = nullptr,
                           const QKeySequence& shortcut = QKeySequence());
    void openDrawing();
    void saveDrawing(bool askName);
    void loadModule();
    void fillRecentMenu();
    void fillUnloadMenu();
    void updateModuleActions();
    void toggleLayer(const QString& name, TvCadLayerToggle what);
    void makeCurrent(const QString& name);
    void showAbout();
    QString drawingFolder() const;
    QString drawingTitle() const;
    void restorePlacement();
    void savePlacement();
    void finishCommand();

    TvCadApp& m_app;
    TvCadCommandRunner* m_runner = nullptr;
    TvCadLayerModel* m_layers = nullptr;
    TvCadCommandLine* m_commandLine = nullptr;
    TvCadLayerControl* m_layerControl = nullptr;
    TvCadDrawingArea* m_drawingArea = nullptr;
    TvCadTextWindow* m_textWindow = nullptr;
    QMenu* m_recentMenu = nullptr;
    QMenu* m_unloadMenu = nullptr;
    QList<QAction*> m_moduleActions;
    KdDbDatabase* m_shownDrawing = nullptr;
    TvCadDrawingSummary m_summary;
    std::string m_shownFile;
    int m_layerTableChanges = 0;
    bool m_quitting = false;
    bool m_closeAfterCommand = false;
};

} // namespace tvcad
