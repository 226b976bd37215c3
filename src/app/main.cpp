#include "AudioProcessor.h"
#include "MainWindow.h"
#include "MessageOutput.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[])
{
    qInstallMessageHandler(myMessageOutput);
    qSetMessagePattern(kMessagePattern);
    int status = 0;
    {
        QApplication application(argc, argv);
        QCoreApplication::setOrganizationName("Kesto Technology");
        QCoreApplication::setOrganizationDomain("ceolmark.example.org");
        AudioProcessor::registerMetaTypes();
        qRegisterMetaType<QtMsgType>("QtMsgType");
        QCoreApplication::setApplicationName("Ceolmark");

        MainWindow mainWindow;
        mainWindow.show();
        status = application.exec();
    }
    // Qt's PulseAudio back end stops its mainloop thread from a static destructor, which can
    // race the thread at exit and crash after everything is saved. The window and the
    // application are gone by now: nothing is left that static teardown would finish.
    std::fflush(nullptr);
    std::_Exit(status);
}
