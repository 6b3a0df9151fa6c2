// tvcad's window version: QApplication, the Host's Qt UI services, the session and its window.
#include "TvCadWindowMain.h"

#include "TvCadApp.h"
#include "TvCadCommandLine.h"
#include "TvCadMainWindow.h"
#include "TvCadWindowOutput.h"

#include "tv/KdEdEditor.h"
#include "tv/KdProfile.h"
#include "tv/KdUtf8.h"
#include "tv/qt/KdQtHost.h"
#include "tv/qt/KdQtUiServices.h"

#include <QApplication>

namespace tvcad {
namespace {

void say(const std::wstring& text) {
    kdutPrintf(L"%s", text.c_str());
}

/// A problem at start: in the transcript and in a message box.
void report(const std::wstring& text) {
    say(text + L"\n");
    kdedMessageBox(text.c_str(), MB_OK, MB_ICONERROR);
}

} // namespace

int runWindow(int& argc, char** argv, const std::string& drawing,
              const std::vector<std::string>& modules, const std::vector<std::string>& moduleDirs) {
    QApplication qapp(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tvcad"));
    QApplication::setWindowIcon(kdQtHostIcon(QStringLiteral("tvcad")));

    // Dialogs keep their settings in the user's current profile; a first run makes one.
    kdEnsureCurrentProfile();
    KdQtUiServices ui;
    KdUiServicesScope uiScope(&ui);
    TvCadWindowOutput output;
    kdedSetOutputStream(output.stream());
    int status = 0;
    {
        TvCadApp app(moduleDirs);
        app.setEcho(true); // the answers typed stand after their prompts in the transcript
        TvCadMainWindow window(app);
        kdQtSetMainWindow(&window);
        output.setSink([&window](const QString& text) { window.commandLine().appendOutput(text); });
        window.show();

        if (!drawing.empty()) {
            std::string error;
            if (app.openDrawing(drawing, &error))
                say(L"Opened " + tvFromUtf8(drawing) + L".\n");
            else
                report(L"Cannot open the drawing " + tvFromUtf8(drawing) + L": " +
                       tvFromUtf8(error));
        }
        for (const std::string& module : modules) {
            std::string error;
            if (!app.loadModule(module, &error))
                report(L"Cannot load " + tvFromUtf8(module) + L": " + tvFromUtf8(error));
        }
        window.start();
        status = QApplication::exec();
        kdQtSetMainWindow(nullptr);
        output.setSink({});
    }
    kdedSetOutputStream(nullptr);
    return status;
}

} // namespace tvcad
