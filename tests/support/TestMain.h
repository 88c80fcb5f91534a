#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

// Tests never touch the real home, caches, settings or Trash: before anything else, HOME and
// the XDG folders point into a folder of the test's own (QUILLON_TEST_HOME from CTest, else
// a temporary folder).
namespace TestSupport {
void isolateHome();
QByteArray testHome();
} // namespace TestSupport

#define QUILLON_TEST_MAIN_IMPL(TestObject, AppClass)                                                         \
    int main(int argc, char* argv[])                                                                         \
    {                                                                                                        \
        TestSupport::isolateHome();                                                                          \
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))                                                  \
            qputenv("QT_QPA_PLATFORM", "offscreen");                                                         \
        AppClass app(argc, argv);                                                                            \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }

// Core tests: no GUI.
#define QUILLON_TEST_MAIN(TestObject) QUILLON_TEST_MAIN_IMPL(TestObject, QCoreApplication)
// Widget tests: include <QApplication> first.
#define QUILLON_GUI_TEST_MAIN(TestObject) QUILLON_TEST_MAIN_IMPL(TestObject, QApplication)
