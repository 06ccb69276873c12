// GoogleTest's main for tests that draw text and pictures.
#include <QGuiApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    // Before the application exists: it picks its platform when constructed.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
