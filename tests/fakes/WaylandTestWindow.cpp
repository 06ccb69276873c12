// A stand-in application for tests on a Wayland compositor: windows with a chosen app id that
// report the keys and text they get.
//
//   ruvola_wayland_test_window --app-id ID [--windows N] [--retitle-ms MS]
//
// Prints "window N" once each window is exposed, and one line per key press, "key SEQUENCE TEXT"
// (SEQUENCE as Qt spells it, e.g. "Ctrl+Shift+T"; TEXT the characters it typed, if any). With
// --retitle-ms its titles change that often.

#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QPainter>
#include <QRasterWindow>
#include <QTimer>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

class RecordingWindow final : public QRasterWindow {
public:
    explicit RecordingWindow(int number) : number_(number) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkCyan);
    }

    void exposeEvent(QExposeEvent* event) override {
        QRasterWindow::exposeEvent(event);
        if (isExposed() && !announced_) {
            announced_ = true;
            std::printf("window %d\n", number_);
        }
    }

    void keyPressEvent(QKeyEvent* event) override {
        const int key = event->key();
        if (key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt ||
            key == Qt::Key_Meta) {
            return;
        }
        const QString sequence =
            QKeySequence(QKeyCombination(event->modifiers(), Qt::Key(key))).toString();
        std::printf("key %s %s\n", sequence.toUtf8().constData(),
                    event->text().toUtf8().constData());
    }

private:
    int number_;
    bool announced_ = false;
};

} // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options{
        {"--app-id", "ruvola-test-window"}, {"--windows", "1"}, {"--retitle-ms", "0"}};
    for (int index = 1; index + 1 < argc; index += 2) {
        options[argv[index]] = argv[index + 1];
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QGuiApplication application(argc, argv);
    // Qt gives the Wayland app id from the desktop file name.
    QGuiApplication::setDesktopFileName(QString::fromStdString(options["--app-id"]));
    std::vector<std::unique_ptr<RecordingWindow>> windows;
    for (int number = 0; number < std::stoi(options["--windows"]); ++number) {
        auto& window = windows.emplace_back(std::make_unique<RecordingWindow>(number));
        window->setTitle(QString("Test window %1").arg(number));
        window->resize(240, 120);
        window->show();
    }
    QTimer retitle;
    int count = 0;
    if (const int every = std::stoi(options["--retitle-ms"]); every > 0) {
        retitle.callOnTimeout([&] {
            ++count;
            for (auto& window : windows) {
                window->setTitle(QString("Test window, title %1").arg(count));
            }
        });
        retitle.start(every);
    }
    return QGuiApplication::exec();
}
