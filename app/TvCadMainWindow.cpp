// TvCadMainWindow: menus, toolbars, layer control, drawing area, command line and text window.
#include "TvCadMainWindow.h"

#include "TvCadApp.h"
#include "TvCadCommandLine.h"
#include "TvCadCommandRunner.h"
#include "TvCadDrawingArea.h"
#include "TvCadLayerControl.h"
#include "TvCadLayerModel.h"
#include "TvCadRecentFiles.h"
#include "TvCadTextWindow.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdCommandStack.h"
#include "tv/KdEdEditor.h"
#include "tv/KdProfile.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdUiServices.h"
#include "tv/qt/KdQtDialogPlacement.h"
#include "tv/qt/KdQtHost.h"
#include "tv/qt/KdQtMessageBox.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QStatusBar>
#include <QTextEdit>
#include <QTimer>
#include <QToolBar>

#include <algorithm>
#include <filesystem>

namespace tvcad {
namespace {

const QString kPlacementName = QStringLiteral("TvCadMainWindow");
const wchar_t kPlacementSection[] = L"Dialogs\\TvCadMainWindow";
const wchar_t kMaximizedEntry[] = L"Maximized";
const QString kDrawingFilter = QStringLiteral("Drawings (*.dxf)|*.dxf|All files|*");

QString caption() {
    return QString::fromWCharArray(kKdUiCaption);
}

/// Widgets that take keys themselves (text, a menu bar walked with the keyboard, a button's
/// space bar); keys typed elsewhere go to the command line.
bool takesKeys(const QWidget* w) {
    if (qobject_cast<const QLineEdit*>(w) || qobject_cast<const QAbstractSpinBox*>(w) ||
        qobject_cast<const QComboBox*>(w) || qobject_cast<const QMenuBar*>(w) ||
        qobject_cast<const QAbstractButton*>(w))
        return true;
    if (const auto* text = qobject_cast<const QTextEdit*>(w))
        return !text->isReadOnly();
    if (const auto* text = qobject_cast<const QPlainTextEdit*>(w))
        return !text->isReadOnly();
    return false;
}

} // namespace

TvCadMainWindow::TvCadMainWindow(TvCadApp& app, QWidget* parent) : QMainWindow(parent), m_app(app) {
    setObjectName(QStringLiteral("TvCadMainWindow"));
    setWindowIcon(kdQtHostIcon(QStringLiteral("tvcad")));
    m_runner = new TvCadCommandRunner(app, this);
    m_layers = new TvCadLayerModel(this);

    m_drawingArea = new TvCadDrawingArea(*m_layers);
    setCentralWidget(m_drawingArea);

    m_commandLine = new TvCadCommandLine;
    auto* dock = new QDockWidget(tr("Command Line"), this);
    dock->setObjectName(QStringLiteral("commandLineDock"));
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    dock->setAllowedAreas(Qt::TopDockWidgetArea | Qt::BottomDockWidgetArea);
    dock->setWidget(m_commandLine);
    addDockWidget(Qt::BottomDockWidgetArea, dock);
    m_textWindow = new TvCadTextWindow(*m_commandLine, this);

    m_layerControl = new TvCadLayerControl(*m_layers);
    createMenusAndToolbars();
    statusBar()->showMessage(tr("Ready"));

    connect(m_commandLine, &TvCadCommandLine::lineEntered, m_runner, &TvCadCommandRunner::submit);
    connect(m_commandLine, &TvCadCommandLine::cancelRequested, m_runner,
            &TvCadCommandRunner::cancel);
    connect(m_runner, &TvCadCommandRunner::commandStarted, this, [this] {
        m_commandLine->setAtCommandPrompt(false);
        m_layerControl->setEnabled(false);
    });
    connect(m_runner, &TvCadCommandRunner::commandFinished, this, &TvCadMainWindow::finishCommand);
    connect(m_runner, &TvCadCommandRunner::waitingForInput, this, [this] {
        m_commandLine->flush();
        refresh();
    });
    connect(m_runner, &TvCadCommandRunner::quitRequested, this, [this] {
        m_quitting = true;
        close();
    });
    connect(m_layerControl, &TvCadLayerControl::toggleRequested, this,
            &TvCadMainWindow::toggleLayer);
    connect(m_layerControl, &TvCadLayerControl::makeCurrentRequested, this,
            &TvCadMainWindow::makeCurrent);
    connect(m_layerControl, &TvCadLayerControl::finished, this,
            [this] { m_commandLine->field()->setFocus(Qt::OtherFocusReason); });
    // Alt+L reaches the layer control from the keyboard.
    auto* toLayers = new QShortcut(QKeySequence(Qt::ALT | Qt::Key_L), this);
    connect(toLayers, &QShortcut::activated, this,
            [this] { m_layerControl->setFocus(Qt::ShortcutFocusReason); });

    // A dialog that changed the layer table while its command still runs (tvSetLayerTableChanges)
    // is shown at once, not only when the command ends.
    m_layerTableChanges = kdedLayerTableChangeCount();
    auto* watch = new QTimer(this);
    watch->setInterval(200);
    connect(watch, &QTimer::timeout, this, [this] {
        if (kdedLayerTableChangeCount() != m_layerTableChanges)
            refresh();
    });
    watch->start();

    qApp->installEventFilter(this);
    restorePlacement();
    m_commandLine->field()->setFocus(Qt::OtherFocusReason);
}

TvCadMainWindow::~TvCadMainWindow() {
    qApp->removeEventFilter(this);
}

QAction* TvCadMainWindow::commandAction(const QString& text, const QString& command,
                                        const char* icon, const QKeySequence& shortcut) {
    auto* action = new QAction(text, this);
    action->setObjectName(QStringLiteral("action") + QString(command).remove(QLatin1Char('-')));
    if (icon)
        action->setIcon(kdQtHostIcon(QLatin1String(icon)));
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    action->setStatusTip(tr("Runs %1").arg(command));
    connect(action, &QAction::triggered, this, [this, command] { m_runner->runCommand(command); });
    return action;
}

void TvCadMainWindow::createMenusAndToolbars() {
    // File
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* newAction =
        commandAction(tr("&New"), QStringLiteral("NEW"), "file-new", QKeySequence::New);
    auto* open = new QAction(kdQtHostIcon(QStringLiteral("file-open")), tr("&Open..."), this);
    open->setObjectName(QStringLiteral("actionOPEN"));
    open->setShortcut(QKeySequence::Open);
    connect(open, &QAction::triggered, this, &TvCadMainWindow::openDrawing);
    auto* save = new QAction(kdQtHostIcon(QStringLiteral("file-save")), tr("&Save"), this);
    save->setObjectName(QStringLiteral("actionSAVE"));
    save->setShortcut(QKeySequence::Save);
    connect(save, &QAction::triggered, this, [this] { saveDrawing(false); });
    auto* saveAs = new QAction(tr("Save &As..."), this);
    saveAs->setObjectName(QStringLiteral("actionSAVEAS"));
    saveAs->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    connect(saveAs, &QAction::triggered, this, [this] { saveDrawing(true); });
    file->addAction(newAction);
    file->addAction(open);
    file->addAction(save);
    file->addAction(saveAs);
    file->addSeparator();
    m_recentMenu = file->addMenu(tr("&Recent Drawings"));
    m_recentMenu->setObjectName(QStringLiteral("recentMenu"));
    connect(m_recentMenu, &QMenu::aboutToShow, this, &TvCadMainWindow::fillRecentMenu);
    fillRecentMenu();
    file->addSeparator();
    QAction* exit = file->addAction(tr("E&xit"), this, &QWidget::close);
    exit->setObjectName(QStringLiteral("actionExit"));
    exit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

    // Edit
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    QAction* undo =
        commandAction(tr("&Undo"), QStringLiteral("U"), "edit-undo", QKeySequence::Undo);
    edit->addAction(undo);

    // View
    QMenu* view = menuBar()->addMenu(tr("&View"));
    QAction* text = view->addAction(tr("&Text Window"), this, [this] {
        if (m_textWindow->isVisible()) {
            m_textWindow->hide();
            return;
        }
        m_textWindow->show();
        m_textWindow->raise();
        m_textWindow->activateWindow();
    });
    text->setObjectName(QStringLiteral("actionTextWindow"));
    text->setShortcut(QKeySequence(Qt::Key_F2));

    // Format: the layer commands. Until the module's layer dialog exists, "Layer..." runs the
    // layer command of the command line.
    QMenu* format = menuBar()->addMenu(tr("F&ormat"));
    QAction* layer = commandAction(tr("&Layer..."), QStringLiteral("-LAYER"), "layer");
    layer->setToolTip(tr("Layer properties"));
    QAction* states =
        commandAction(tr("Layer &States..."), QStringLiteral("LAYERSTATE"), "layer-states");
    QAction* saveState =
        commandAction(tr("Sa&ve Layer State..."), QStringLiteral("LAYERSTATESAVE"));
    QAction* freeze =
        commandAction(tr("&Freeze Layers of Objects"), QStringLiteral("LAYFRZ"), "layer-freeze");
    QAction* isolate =
        commandAction(tr("&Isolate Layers of Objects"), QStringLiteral("LAYISO"), "layer-isolate");
    QAction* unisolate =
        commandAction(tr("&Unisolate Layers"), QStringLiteral("LAYUNISO"), "layer-unisolate");
    format->addAction(layer);
    format->addAction(states);
    format->addAction(saveState);
    format->addSeparator();
    format->addAction(freeze);
    format->addAction(isolate);
    format->addAction(unisolate);
    // What the module brings is there only while it is loaded.
    states->setProperty("tvNeeds", QStringLiteral("LAYERSTATE"));
    saveState->setProperty("tvNeeds", QStringLiteral("LAYERSTATESAVE"));
    freeze->setProperty("tvNeeds", QStringLiteral("LAYFRZ"));
    isolate->setProperty("tvNeedsFunction", QStringLiteral("LayIso"));
    unisolate->setProperty("tvNeedsFunction", QStringLiteral("LayUniso"));
    m_moduleActions = {states, saveState, freeze, isolate, unisolate};
    connect(format, &QMenu::aboutToShow, this, &TvCadMainWindow::updateModuleActions);

    // Tools
    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    QAction* load = tools->addAction(kdQtHostIcon(QStringLiteral("module-load")),
                                     tr("&Load Module..."), this, &TvCadMainWindow::loadModule);
    load->setObjectName(QStringLiteral("actionLOADMODULE"));
    m_unloadMenu = tools->addMenu(tr("&Unload Module"));
    m_unloadMenu->setObjectName(QStringLiteral("unloadMenu"));
    connect(m_unloadMenu, &QMenu::aboutToShow, this, &TvCadMainWindow::fillUnloadMenu);

    // Help
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    QAction* commands =
        commandAction(tr("&Commands"), QStringLiteral("HELP"), "help", QKeySequence::HelpContents);
    help->addAction(commands);
    help->addSeparator();
    help->addAction(tr("&About %1").arg(caption()), this, &TvCadMainWindow::showAbout);

    // Toolbars: the drawing's files, then the layers with the layer control.
    QToolBar* standard = addToolBar(tr("Standard"));
    standard->setObjectName(QStringLiteral("standardToolBar"));
    standard->addAction(newAction);
    standard->addAction(open);
    standard->addAction(save);
    standard->addSeparator();
    standard->addAction(undo);
    QToolBar* layers = addToolBar(tr("Layers"));
    layers->setObjectName(QStringLiteral("layersToolBar"));
    layers->addAction(layer);
    layers->addWidget(m_layerControl);
    layers->addAction(states);
    layers->addSeparator();
    layers->addAction(freeze);
    layers->addAction(isolate);
    layers->addAction(unisolate);
    for (QToolBar* bar : {standard, layers}) {
        bar->setIconSize(QSize(24, 24));
        bar->setFocusPolicy(Qt::NoFocus);
    }
    m_layerControl->setToolTip(m_layerControl->toolTip() + tr(" (Alt+L)"));
}

void TvCadMainWindow::start() {
    refresh();
    m_runner->start();
    m_commandLine->flush();
}

void TvCadMainWindow::finishCommand() {
    m_commandLine->setAtCommandPrompt(true);
    m_layerControl->setEnabled(true);
    m_commandLine->flush();
    refresh();
    if (m_closeAfterCommand) {
        m_closeAfterCommand = false;
        QTimer::singleShot(0, this, &QWidget::close);
    }
}

QString TvCadMainWindow::drawingTitle() const {
    const KdDbDatabase* db = m_app.database();
    if (!db || db->fileName().empty())
        return QStringLiteral("Drawing1.dxf");
    return QFileInfo(QString::fromStdString(db->fileName())).fileName();
}

QString TvCadMainWindow::drawingFolder() const {
    const KdDbDatabase* db = m_app.database();
    if (db && !db->fileName().empty())
        return QFileInfo(QString::fromStdString(db->fileName())).absolutePath();
    return QDir::currentPath();
}

void TvCadMainWindow::refresh() {
    KdDbDatabase* db = m_app.database();
    const std::string file = db ? db->fileName() : std::string();
    if (db != m_shownDrawing || file != m_shownFile) {
        // Counting model space is done once a drawing; a new name only renames it.
        if (db != m_shownDrawing)
            m_summary = db ? summarizeDrawing(*db) : TvCadDrawingSummary();
        m_drawingArea->setDrawing(drawingTitle(), m_summary);
        m_shownDrawing = db;
        m_shownFile = file;
        if (!file.empty()) {
            std::error_code ec;
            const std::filesystem::path absolute = std::filesystem::absolute(file, ec);
            rememberDrawing(ec ? std::filesystem::path(file).wstring() : absolute.wstring());
        }
    }
    m_layerTableChanges = kdedLayerTableChangeCount();
    m_layers->reload(db);
    m_layerControl->showCurrentLayer();
    setWindowTitle(drawingTitle() + QStringLiteral("[*] - ") + caption());
    setWindowModified(db && db->isModified());
    updateModuleActions();
}

void TvCadMainWindow::updateModuleActions() {
    KdEdCommandStack* stack = kdedCommandStack();
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    for (QAction* action : m_moduleActions) {
        bool available = false;
        const QString command = action->property("tvNeeds").toString();
        const QString function = action->property("tvNeedsFunction").toString();
        if (!command.isEmpty() && stack)
            available = stack->lookupGlobalCmd(command.toStdWString().c_str()) != nullptr;
        if (!function.isEmpty() && linker)
            available = linker->getSymbolAddress(function.toStdString().c_str()) != nullptr;
        action->setEnabled(available);
    }
}

void TvCadMainWindow::openDrawing() {
    const QString path = kdQtFileDialog(this, false, tr("Open Drawing"), drawingFolder(),
                                        kDrawingFilter, QStringLiteral("dxf"));
    if (!path.isEmpty())
        m_runner->runCommand(QStringLiteral("OPEN"), {path});
}

void TvCadMainWindow::saveDrawing(bool askName) {
    const KdDbDatabase* db = m_app.database();
    if (!db)
        return;
    if (!askName && !db->fileName().empty()) {
        m_runner->runCommand(QStringLiteral("SAVE"));
        return;
    }
    const QString proposed = db->fileName().empty()
                                 ? drawingFolder() + QLatin1Char('/') + drawingTitle()
                                 : QString::fromStdString(db->fileName());
    // The dialog asks before a file is replaced; SAVEAS then writes without asking again.
    const QString path = kdQtFileDialog(this, true, tr("Save Drawing As"), proposed, kDrawingFilter,
                                        QStringLiteral("dxf"));
    if (!path.isEmpty())
        m_runner->runCommand(QStringLiteral("SAVEAS"), {path});
}

void TvCadMainWindow::fillRecentMenu() {
    m_recentMenu->clear();
    const std::vector<std::wstring> paths = recentDrawings();
    int number = 0;
    for (const std::wstring& wide : paths) {
        const QString path = QString::fromStdWString(wide);
        QAction* action = m_recentMenu->addAction(
            QStringLiteral("&%1 %2").arg(++number).arg(QFileInfo(path).fileName()));
        action->setToolTip(path);
        action->setStatusTip(path);
        connect(action, &QAction::triggered, this, [this, path] {
            if (!QFileInfo::exists(path)) {
                kdQtMessageBox(this, tr("%1 is no longer there.").arg(path), caption(), MB_OK,
                               MB_ICONWARNING);
                forgetDrawing(path.toStdWString());
                return;
            }
            m_runner->runCommand(QStringLiteral("OPEN"), {path});
        });
    }
    if (paths.empty())
        m_recentMenu->addAction(tr("(none)"))->setEnabled(false);
}

void TvCadMainWindow::loadModule() {
    QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/../modules");
    if (!QFileInfo(folder).isDir())
        folder = QCoreApplication::applicationDirPath();
    const QString path =
        kdQtFileDialog(this, false, tr("Load Module"), QDir::cleanPath(folder),
                       QStringLiteral("Modules (*.krx)|*.krx"), QStringLiteral("krx"));
    if (!path.isEmpty())
        m_runner->runCommand(QStringLiteral("LOADMODULE"), {path});
}

void TvCadMainWindow::fillUnloadMenu() {
    m_unloadMenu->clear();
    KdRxDynamicLinker* linker = kdrxDynamicLinker();
    const std::vector<std::string> modules =
        linker ? linker->loadedModules() : std::vector<std::string>();
    for (const std::string& module : modules) {
        const QString name = QFileInfo(QString::fromStdString(module)).fileName();
        QAction* action = m_unloadMenu->addAction(name);
        action->setToolTip(QString::fromStdString(module));
        connect(action, &QAction::triggered, this,
                [this, name] { m_runner->runCommand(QStringLiteral("UNLOADMODULE"), {name}); });
    }
    if (modules.empty())
        m_unloadMenu->addAction(tr("(none loaded)"))->setEnabled(false);
}

void TvCadMainWindow::toggleLayer(const QString& name, TvCadLayerToggle what) {
    KdDbDatabase* db = m_app.database();
    if (!db || m_runner->busy())
        return;
    std::wstring message;
    if (!tvcad::toggleLayer(*db, name.toStdWString(), what, &message))
        kdedMessageBox(message.c_str(), MB_OK, MB_ICONWARNING);
    refresh();
}

void TvCadMainWindow::makeCurrent(const QString& name) {
    KdDbDatabase* db = m_app.database();
    if (!db || m_runner->busy())
        return;
    std::wstring message;
    if (!makeLayerCurrent(*db, name.toStdWString(), &message))
        kdedMessageBox(message.c_str(), MB_OK, MB_ICONWARNING);
    refresh();
}

void TvCadMainWindow::showAbout() {
    kdQtMessageBox(this,
                   tr("%1: the embedded CAD Host with the layer management module.\n"
                      "It opens and saves DXF drawings and runs the layer commands typed on its "
                      "command line.")
                       .arg(caption()),
                   caption(), MB_OK, MB_ICONINFORMATION);
}

void TvCadMainWindow::restorePlacement() {
    resize(1100, 720);
    if (const std::optional<QRect> stored = kdQtReadPlacement(kPlacementName)) {
        if (const std::optional<QRect> fitted =
                kdQtFitToScreens(*stored, kdQtScreenAreas(), minimumSizeHint())) {
            resize(fitted->size());
            move(fitted->topLeft());
        }
    }
    if (KdProfile::getProfileInt(kPlacementSection, kMaximizedEntry, 0) != 0)
        setWindowState(windowState() | Qt::WindowMaximized);
}

void TvCadMainWindow::savePlacement() {
    const bool maximized = isMaximized();
    KdProfile::writeProfileInt(kPlacementSection, kMaximizedEntry, maximized ? 1 : 0);
    // A maximised window keeps the place it goes back to.
    if (!maximized)
        kdQtWritePlacement(kPlacementName, QRect(pos(), size()));
}

void TvCadMainWindow::closeEvent(QCloseEvent* event) {
    if (!m_quitting) {
        if (m_runner->busy()) {
            // The command running winds down first; the window closes after it.
            m_closeAfterCommand = true;
            m_runner->abortCommand();
            event->ignore();
            return;
        }
        if (!m_runner->quit()) {
            event->ignore();
            return;
        }
        m_quitting = true;
    }
    savePlacement();
    m_textWindow->close();
    event->accept();
}

bool TvCadMainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return QMainWindow::eventFilter(watched, event);
    auto* widget = static_cast<QWidget*>(watched);
    if (widget->window() != this || takesKeys(widget))
        return QMainWindow::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return QMainWindow::eventFilter(watched, event);
    static const int kEditingKeys[] = {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape,
                                       Qt::Key_Up,     Qt::Key_Down,  Qt::Key_Backspace,
                                       Qt::Key_Space};
    const bool typing = !key->text().isEmpty() && key->text().at(0).isPrint();
    const bool editing = std::find(std::begin(kEditingKeys), std::end(kEditingKeys), key->key()) !=
                         std::end(kEditingKeys);
    if (!typing && !editing)
        return QMainWindow::eventFilter(watched, event);
    m_commandLine->takeKey(key);
    return true;
}

} // namespace tvcad
