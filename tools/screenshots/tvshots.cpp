// tvshots: PNG pictures of tvcad's main window and of every Host dialog, each in the state a
// user meets it in, for the README and for looking at what was built.
//   tvshots FOLDER DRAWING.dxf
// Runs on any Qt platform; scripts/screenshots.sh runs it under Xvfb. Settings go to a folder
// of its own, so that no placement or colour book of the user's shows. A window of a later
// feature adds one entry to kShots.
#include "TvCadApp.h"
#include "TvCadCommandLine.h"
#include "TvCadCommandRunner.h"
#include "TvCadLayerControl.h"
#include "TvCadMainWindow.h"
#include "TvCadTextWindow.h"
#include "TvCadWindowOutput.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/KdProfile.h"
#include "tv/KdRegistry.h"
#include "tv/KdUtf8.h"
#include "tv/qt/KdQtColorBooks.h"
#include "tv/qt/KdQtDialogDriver.h"
#include "tv/qt/KdQtHost.h"
#include "tv/qt/KdQtUiServices.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <functional>

namespace {

using Driver = KdQtDialogDriver;

struct Context {
    QString folder;
    QString drawing;
    tvcad::TvCadApp* app = nullptr;
    tvcad::TvCadMainWindow* window = nullptr;
    int failures = 0;
};

/// Lets the window system show and paint what was asked for.
void settle(int ms = 150) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
}

bool save(Context& c, QWidget* widget, const char* name) {
    settle();
    const QString path = c.folder + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".png");
    if (!Driver::saveScreenshot(widget, path)) {
        std::fprintf(stderr, "tvshots: cannot write %s\n", qPrintable(path));
        ++c.failures;
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

/// Opens a modal dialog with `open`, takes its picture (after `prepare`) and closes it.
void shootDialog(Context& c, const char* name, const std::function<void()>& open,
                 const std::function<void(QDialog*)>& prepare = {}) {
    Driver::whenShown([&c, name, prepare](QDialog* dialog) {
        if (prepare)
            prepare(dialog);
        save(c, dialog, name);
        dialog->reject();
    });
    open();
    const QString failures = Driver::takeFailures();
    if (!failures.isEmpty()) {
        std::fprintf(stderr, "tvshots: %s: %s\n", name, qPrintable(failures));
        ++c.failures;
    }
}

void colorPage(Context& c, const char* name, int page, const KdCmColor& color) {
    shootDialog(
        c, name,
        [color] {
            KdCmColor chosen = color;
            KdCmColor layer;
            layer.setColorIndex(3);
            kdedSetColorDialogTrueColor(chosen, true, layer, 0);
        },
        [page](QDialog* d) {
            Driver::find<QTabWidget>(d, QStringLiteral("colorTabs"))->setCurrentIndex(page);
        });
}

KdCmColor indexColor(int index) {
    KdCmColor c;
    c.setColorIndex(uint16_t(index));
    return c;
}

struct Shot {
    const char* name;
    void (*take)(Context&);
};

const Shot kShots[] = {
    {"main-window", [](Context& c) { save(c, c.window, "main-window"); }},
    {"layer-control",
     [](Context& c) {
         tvcad::TvCadLayerControl& control = c.window->layerControl();
         control.showPopup();
         settle(300);
         save(c, control.view()->window(), "layer-control");
         control.hidePopup();
     }},
    {"text-window",
     [](Context& c) {
         tvcad::TvCadTextWindow& text = c.window->textWindow();
         text.move(c.window->pos() + QPoint(60, 60));
         text.show();
         save(c, &text, "text-window");
         text.hide();
     }},
    {"message-box",
     [](Context& c) {
         shootDialog(c, "message-box", [] {
             kdedMessageBox(L"Save changes to office.dxf?", MB_YESNOCANCEL, MB_ICONQUESTION);
         });
     }},
    {"message-box-error",
     [](Context& c) {
         shootDialog(c, "message-box-error", [] {
             kdedMessageBox(L"Cannot open the drawing: broken.dxf, line 14: expected a group "
                            L"code, found \"SECTION\".",
                            MB_OK, MB_ICONERROR);
         });
     }},
    {"file-open",
     [](Context& c) {
         shootDialog(c, "file-open", [&c] {
             KdString path;
             kdUiServices()->getOpenFileName(
                 KdString(L"Open Drawing"), KdString(c.drawing.toStdWString()),
                 KdString(L"Drawings (*.dxf)|*.dxf|All files|*"), KdString(L"dxf"), path);
         });
     }},
    {"file-save",
     [](Context& c) {
         shootDialog(c, "file-save", [&c] {
             KdString path;
             const QString proposed =
                 QFileInfo(c.drawing).absolutePath() + QStringLiteral("/Issued.las");
             kdUiServices()->getSaveFileName(
                 KdString(L"Export Layer State"), KdString(proposed.toStdWString()),
                 KdString(L"Layer states (*.las)|*.las"), KdString(L"las"), path);
         });
     }},
    {"color-index", [](Context& c) { colorPage(c, "color-index", 0, indexColor(30)); }},
    {"color-true",
     [](Context& c) {
         KdCmColor rgb;
         rgb.setRGB(255, 127, 0);
         colorPage(c, "color-true", 1, rgb);
     }},
    {"color-books",
     [](Context& c) {
         KdCmColor lawn;
         lawn.setRGB(86, 140, 60);
         lawn.setNames(L"Lawn", L"Site plan");
         colorPage(c, "color-books", 2, lawn);
     }},
    {"linetype",
     [](Context& c) {
         shootDialog(c, "linetype", [&c] {
             KdString chosen;
             kdUiServices()->chooseLinetype(kdUiLinetypeNames(*c.app->database()),
                                            KdString(L"DASHED"), chosen);
         });
     }},
};

} // namespace

int main(int argc, char** argv) {
    QApplication qapp(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: tvshots FOLDER DRAWING.dxf\n");
        return 2;
    }
    Context c;
    c.folder = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    c.drawing = QFileInfo(QString::fromLocal8Bit(argv[2])).absoluteFilePath();
    QDir().mkpath(c.folder);

    QTemporaryDir settings;
    tvSettingsSetFile((settings.path() + QStringLiteral("/tvcad/registry.ini")).toStdString());
    kdEnsureCurrentProfile();
    QDir().mkpath(kdQtColorBookFolder());
    QFile book(kdQtColorBookFolder() + QStringLiteral("/Site plan.colorbook"));
    if (book.open(QIODevice::WriteOnly)) {
        book.write("# colours of the site plan\n86,140,60 Lawn\n200,180,150 Gravel path\n"
                   "120,120,120 Asphalt\n70,110,160 Pond\n150,90,50 Timber deck\n");
        book.close();
    }

    KdQtUiServices ui;
    KdUiServicesScope uiScope(&ui);
    tvcad::TvCadWindowOutput output;
    kdedSetOutputStream(output.stream());
    {
        tvcad::TvCadApp app({TV_MODULE_DIR});
        app.setEcho(true);
        tvcad::TvCadMainWindow window(app);
        kdQtSetMainWindow(&window);
        output.setSink([&window](const QString& t) { window.commandLine().appendOutput(t); });
        c.app = &app;
        c.window = &window;
        window.resize(1180, 740);
        window.move(20, 20);
        window.show();

        std::string error;
        if (!app.openDrawing(c.drawing.toStdString(), &error)) {
            std::fprintf(stderr, "tvshots: %s\n", error.c_str());
            return 1;
        }
        kdutPrintf(L"Opened %s.\n", tvFromUtf8(c.drawing.toStdString()).c_str());
        if (!app.loadModule("TvLayerManager.krx", &error))
            std::fprintf(stderr, "tvshots: the module did not load: %s\n", error.c_str());
        window.start();
        // A little work on the command line, as a user would have done.
        window.runner().runCommand(QStringLiteral("-LAYER"),
                                   {QStringLiteral("Freeze"), QStringLiteral("A-FURN-0004"),
                                    QStringLiteral("Set"), QStringLiteral("E-FLOR-0001"),
                                    QString()});
        window.runner().runCommand(QStringLiteral("-LAYERSTATE"), {QStringLiteral("?"), QString()});
        settle(400);

        for (const Shot& shot : kShots)
            shot.take(c);
        kdQtSetMainWindow(nullptr);
        output.setSink({});
    }
    kdedSetOutputStream(nullptr);
    return c.failures == 0 ? 0 : 1;
}
