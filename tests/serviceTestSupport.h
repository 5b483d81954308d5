#pragma once

// Helpers shared by the tests of the program-wide services and the object library: closing
// modal message boxes while a call runs, and running a scenario in a process of its own (the
// singletons live once per process).

#include <QApplication>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QtTest>

// Records and closes (with OK) every message box shown while it lives. Each box is recorded as
// "visible boxes|title|text|informative text|icon|buttons|parent or none|modal or modeless".
class BoxCloser : public QObject
{
public:
    BoxCloser()
    {
        connect(&m_timer, &QTimer::timeout, this, &BoxCloser::closeVisibleBoxes);
        m_timer.start(0);
    }

    QStringList boxes;

private:
    void closeVisibleBoxes()
    {
        QList<QMessageBox *> visible;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *box = qobject_cast<QMessageBox *>(widget); box && box->isVisible())
                visible << box;
        }
        for (QMessageBox *box : qAsConst(visible)) {
            boxes << QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8").arg(visible.size())
                         .arg(box->windowTitle(), box->text(), box->informativeText())
                         .arg(int(box->icon())).arg(int(box->standardButtons()))
                         .arg(QLatin1String(box->parentWidget() ? "parent" : "none"),
                              QLatin1String(box->isModal() ? "modal" : "modeless"));
            if (QAbstractButton *ok = box->button(QMessageBox::Ok))
                ok->click();
            else
                box->reject();
        }
    }

    QTimer m_timer;
};

// No message box is left as a top-level widget (a box that was not deleted shows up there).
inline bool noMessageBoxLeft()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMessageBox *>(widget))
            return false;
    }
    return true;
}

inline QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QString fixtureText(const QString &fixture)
{
    return QString::fromUtf8(readAll(QStringLiteral(TIRREL_TEST_DATA "/") + fixture));
}

inline bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
            && file.write(content) == content.size();
}

inline bool copyFixture(const QString &fixture, const QString &destination)
{
    QFile::remove(destination);
    return QFile::copy(QStringLiteral(TIRREL_TEST_DATA "/") + fixture, destination)
            && QFile::setPermissions(destination, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

// Runs the scenario slot `scenario` of this test program in a process of its own, with the home
// directory root/home and the working directory root/work (both created here). `argument` is
// handed to the scenario through TIRREL_SCENARIO_ARG. With ownProgramFolder, the program is
// copied to root/bin and run from there, so that whatever it looks for beside its own folder is
// in root. Returns nothing if the scenario passed, else its output.
inline QString runScenario(const QString &scenario, const QString &root,
                               bool ownProgramFolder = false, const QString &argument = QString())
{
    QDir().mkpath(root + QLatin1String("/home"));
    QDir().mkpath(root + QLatin1String("/work"));
    QString program = QCoreApplication::applicationFilePath();
    if (ownProgramFolder) {
        const QString copy = root + QLatin1String("/bin/") + QFileInfo(program).fileName();
        QDir().mkpath(root + QLatin1String("/bin"));
        QFile::copy(program, copy);   // made by the first step in this root
        program = copy;
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), root + QLatin1String("/home"));
    environment.insert(QStringLiteral("TIRREL_SCENARIO_ARG"), argument);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(root + QLatin1String("/work"));
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, {QStringLiteral("--scenario"), scenario});
    // A generous guard against a scenario stuck in a modal box; not a measurement.
    if (!process.waitForFinished(240000))
        return QStringLiteral("did not finish: ") + QString::fromLocal8Bit(process.readAll());
    const bool passed = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return passed ? QString() : QString::fromLocal8Bit(process.readAll());
}

// main() of a test program whose scenarios run in processes of their own: "--scenario <name>"
// runs the slot <name> of ScenarioClass, anything else runs TestClass as usual.
#define TIRREL_SCENARIO_MAIN(TestClass, ScenarioClass)                                         \
    int main(int argc, char *argv[])                                                           \
    {                                                                                          \
        QApplication app(argc, argv);                                                          \
        if (argc == 3 && qstrcmp(argv[1], "--scenario") == 0) {                                \
            ScenarioClass scenarios;                                                           \
            return QTest::qExec(&scenarios, QStringList{argv[0], argv[2]});                    \
        }                                                                                      \
        TestClass tc;                                                                          \
        QTEST_SET_MAIN_SOURCE_PATH                                                             \
        return QTest::qExec(&tc, argc, argv);                                                  \
    }
