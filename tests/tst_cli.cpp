// The tirrel command-line tool, run as a program through transcripts: each tests/data/cli/
// transcripts/*.t holds bash commands ("$ ..."; `tirrel` runs the tool, `json` squeezes its JSON
// to an object a line; pipefail is set), each followed by what it prints ("! " before lines of
// stderr, "[exit N]" when it fails), and runs in a folder of its own. TIRREL_REGENERATE=1
// rewrites the transcripts from what the tool prints now; review the change with git diff.
#include <QDir>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

namespace {

const QString Data = QStringLiteral(TIRREL_TEST_DATA);

QString lines(QString text, const QString &prefix)
{
    if (!text.isEmpty() && !text.endsWith('\n'))
        text += "\n[no newline at end]\n";
    if (!text.isEmpty())
        text = prefix + text.chopped(1).replace('\n', '\n' + prefix) + '\n';
    return text;
}

// One command's output as the transcript shows it.
QString run(const QString &command, const QProcessEnvironment &env, const QString &workDir)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.setWorkingDirectory(workDir);
    const QString helpers = "tirrel() { \"$TIRREL\" \"$@\"; }\n"
                            "json() { tr -d '\\n' | sed -E 's/ {2,}/ /g; s/\\}, /},\\n/g'; "
                            "echo; }\n";
    p.start(QStringLiteral("/bin/bash"), {"-o", "pipefail", "-c", helpers + command});
    if (!p.waitForFinished(240000)) {
        p.kill();
        p.waitForFinished();
    }
    QString err = QString::fromUtf8(p.readAllStandardError());
    // LeakSanitizer's list of the suppressions it applied is no output of the tool.
    static const QRegularExpression suppressions(
        QStringLiteral("-+\\nSuppressions used:\\n(?:.*\\n)*?-+\\n\\n?"));
    err.remove(suppressions);
    const int code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return lines(QString::fromUtf8(p.readAllStandardOutput()), QString()) + lines(err, "! ")
           + (code ? QStringLiteral("[exit %1]\n").arg(code) : QString());
}

} // namespace

class tst_Cli : public QObject
{
    Q_OBJECT

private slots:
    void transcripts_data();
    void transcripts();
    void diffPicture();
};

void tst_Cli::transcripts_data()
{
    QTest::addColumn<QString>("file");
    const QDir dir(Data + "/cli/transcripts");
    for (const QString &name : dir.entryList({"*.t"}, QDir::Files, QDir::Name))
        QTest::newRow(qPrintable(name)) << dir.filePath(name);
}

void tst_Cli::transcripts()
{
    QFETCH(QString, file);
    QFile in(file);
    QVERIFY(in.open(QIODevice::ReadOnly));
    const QString expected = QString::fromUtf8(in.readAll());
    if (expected.startsWith("# not as root") && geteuid() == 0)
        QSKIP("root reads a file without read permission");
    QTemporaryDir work, home;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("HOME", home.path());
    const QList<QPair<QString, QString>> places{
        {"TIRREL", TIRREL_CLI}, {"PLUGIN", TIRREL_PLUGIN_FILE}, {"DEMO", TIRREL_DEMO_DIR},
        {"DATA", Data}, {"WORK", work.path()}};
    for (const auto &place : places)
        env.insert(place.first, place.second);

    QString actual;
    const QStringList lines = expected.chopped(expected.endsWith('\n')).split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        const QString &line = lines.at(i), next = lines.value(i + 1, "#");
        if (line.startsWith("$ ")) {
            QString out = run(line.mid(2), env, work.path());
            for (const auto &place : places)
                out.replace(place.second, '$' + place.first);
            actual += line + '\n' + out;
        } else if (line.startsWith('#')
                   || (line.isEmpty() && (next.startsWith('#') || next.startsWith("$ ")))) {
            actual += line + '\n';
        }
    }
    if (qEnvironmentVariableIsSet("TIRREL_REGENERATE")) {
        in.close();
        QVERIFY(in.open(QIODevice::WriteOnly | QIODevice::Truncate));
        in.write(actual.toUtf8());
    }
    const QStringList want = expected.split('\n'), got = actual.split('\n');
    int at = 0;
    while (at < want.size() && at < got.size() && want.at(at) == got.at(at))
        ++at;
    QVERIFY2(actual == expected,
             qPrintable(QStringLiteral("%1:%2\nexpected: %3\nactual:   %4")
                            .arg(file).arg(at + 1).arg(want.value(at), got.value(at))));
}

void tst_Cli::diffPicture()
{
    // The moved logo outlined in orange at its new place, the added badge in green.
    QTemporaryDir dir;
    QFile in(Data + "/diff/page.xml");
    QVERIFY(in.open(QIODevice::ReadOnly));
    const QString images = "<ImageFile>images/missing.png</ImageFile>\n        </Item>\n";
    const QString logo = "<Geometry X=\"300\" Y=\"20\" W=\"60\"";
    QString page = QString::fromUtf8(in.readAll());
    QVERIFY(page.contains(images) && page.contains(logo));
    page.replace(images, images + "<Item><ItemType>ImageItem</ItemType><Geometry X=\"20\" "
                                  "Y=\"150\" W=\"50\" H=\"50\"/><Properties Name=\"Badge\" "
                                  "LayerId=\"1\"/></Item>\n");
    page.replace(logo, QString(logo).replace("300", "320"));
    QFile out(dir.filePath("new.xml"));
    QVERIFY(out.open(QIODevice::WriteOnly) && out.write(page.toUtf8()) > 0);
    out.close();
    QProcess diff;
    diff.start(TIRREL_CLI,
               {"diff", in.fileName(), out.fileName(), "--render", dir.filePath("diff.png")});
    QVERIFY(diff.waitForFinished(240000) && diff.exitCode() == 1);
    const QImage image(dir.filePath("diff.png"));
    QCOMPARE(image.size(), QSize(400, 300));
    QCOMPARE(image.pixelColor(320, 40), QColor(0xff, 0x8c, 0x00));     // left edge of the logo
    QCOMPARE(image.pixelColor(300, 40), QColor(Qt::white));             // its old place
    QCOMPARE(image.pixelColor(20, 175), QColor(0x00, 0xa0, 0x00));     // left edge of the badge
}

QTEST_GUILESS_MAIN(tst_Cli)
#include "tst_cli.moc"
