// GoogleTest's main for tests of widgets, drawn on the offscreen platform in Qt's own style so
// that they look the same on every machine.
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
