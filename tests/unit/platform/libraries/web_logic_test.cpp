#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QtTest>
#include <thread>

#include "log_capture.h"
#include "platform_at_home.h"
#include "velmarweblogic/velmar_web_logic.h"

namespace {

void upload(const QVariantMap& record) {
    VelmarWebLogic::instance()->UpLoad("box_input", "null", "", "", record);
}

}  // namespace

class WebLogicTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformAtHome>(); }
    void cleanup() { m_platform.reset(); }

    void upload_isALineInTheHome() {
        const QDateTime before = QDateTime::currentDateTime();
        upload({{"x", 1}, {"名", "值"}});
        QFile file(uploads());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QCOMPARE(content.count('\n'), 1);
        const QVariantMap line = QJsonDocument::fromJson(content).toVariant().toMap();
        QCOMPARE(line.value("destination").toString(), QString("box_input"));
        QCOMPARE(line.value("kind").toString(), QString("null"));
        const QVariantMap values = line.value("values").toMap();
        QCOMPARE(values.keys(), (QStringList{"x", "名"}));
        QCOMPARE(values.value("x").toInt(), 1);
        QCOMPARE(values.value("名").toString(), QString("值"));
        const QDateTime time =
            QDateTime::fromString(line.value("time").toString(), Qt::ISODateWithMs);
        QVERIFY(time.isValid());
        // A millisecond is lost when the time is written.
        QVERIFY(time >= before.addMSecs(-1));
    }

    void laterUpload_isAnotherLine() {
        upload({{"x", 1}});
        std::thread([] { upload({{"x", 2}}); }).join();
        QFile file(uploads());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().count('\n'), 2);
    }

    void uploadThatCannotBeWritten_isLoggedAndLost() {
        QVERIFY(QDir().mkpath(uploads()));
        const LogCapture log;
        upload({{"x", 1}});
        QVERIFY(log.contains(QtWarningMsg, "a web upload is lost: " + uploads()));
        QVERIFY(QDir().rmdir(uploads()));
        upload({{"x", 1}});
        QVERIFY(QFileInfo(uploads()).isFile());
    }

private:
    QString uploads() const { return m_platform->path() + "/log/web-uploads.jsonl"; }

    std::unique_ptr<PlatformAtHome> m_platform;
};

QTEST_GUILESS_MAIN(WebLogicTest)
#include "web_logic_test.moc"
