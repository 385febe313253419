// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"
#include "comm/frame.h"
#include "comm/portdiscovery.h"
#include "mockedtty.h"
#include "support/stdoutcapture.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMetaMethod>
#include <QTest>
#include <functional>
#include <optional>
#include <sys/resource.h>
#include <thread>
#include <utility>

namespace {

using Payloads = QList<QByteArray>;

QByteArray frame(const QByteArray& payload)
{
    return QByteArray::fromStdString(makeFrame(payload.toStdString()));
}

// A ComPort with a line to it, and what it delivered.
struct Link
{
    Link()
    {
        QObject::connect(&port, &ComPort::commandRead, &port, [this](const std::string& data) {
            delivered << QByteArray::fromStdString(data);
            if (const auto action = std::exchange(handler, nullptr)) {
                action();
            }
        });
    }
    bool open() { return port.open(tty.info()); }

    MockedTty tty{"XCU1"};
    ComPort port;
    Payloads delivered;
    std::function<void()> handler; // of the next frame
};

// Announces one byte more than it can give.
class ShortDevice : public QIODevice
{
public:
    ShortDevice() { open(QIODevice::ReadOnly); }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return bytes.size() + QIODevice::bytesAvailable() + 1;
    }

    QByteArray bytes;

protected:
    qint64 readData(char* data, qint64 wanted) override
    {
        const QByteArray part = bytes.left(static_cast<int>(wanted));
        bytes.remove(0, part.size());
        std::copy(part.begin(), part.end(), data);
        return part.size();
    }
    qint64 writeData(const char*, qint64) override { return -1; }
};

using Action = std::function<void(ComPort&, const QSerialPortInfo&)>;

} // namespace

Q_DECLARE_METATYPE(Action)

class TestComPort : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheOrderOfItsMetaObject();
    void reassemblesFrames_data();
    void reassemblesFrames();
    void shortReadsLoseNothing();
    void failedOpenReportsThePortThatWasTried();
    void onePortServesOneProgram();
    void closeKeepsTheCutFrame();
    void everyOpenAddsAPollUntilClose();
    void handlerMayDoAnythingToThePort_data();
    void handlerMayDoAnythingToThePort();
    void sendsFramesOrDumpsThem();
    void sendsFromAnyThreadWithoutWaiting();
};

void TestComPort::keepsTheOrderOfItsMetaObject()
{
    QByteArray methods;
    const QMetaObject& meta = ComPort::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        methods += meta.method(i).methodSignature() + ' ';
    }
    QCOMPARE(
        methods, QByteArray("commandRead(std::string) deviceReconnected() bootloaderReconnected() "
                            "dataAvaliable() reconnectDeviceService() "
                            "reconnectBootloderService() "));
}

void TestComPort::reassemblesFrames_data()
{
    QTest::addColumn<Payloads>("pieces");
    QTest::addColumn<Payloads>("payloads");
    QTest::addColumn<QByteArray>("traces");
    const QByteArray zeros("a\0b", 3);
    QTest::newRow("zero bytes inside")
        << Payloads{frame(zeros)} << Payloads{zeros}
        << QByteArray("dataAvaliable 7\nHeader:  3\nWait for data:  3/3\nRed:  3\n");
    QTest::newRow("length 0, in the pass of its header")
        << Payloads{frame("")} << Payloads{""}
        << QByteArray("dataAvaliable 4\nHeader:  0\nWait for data:  0/0\nRed:  0\n");
    QTest::newRow("several at once")
        << Payloads{frame("ab") + frame("") + frame("c")} << Payloads{"ab", "", "c"}
        << QByteArray("dataAvaliable 15\nHeader:  2\nWait for data:  2/11\nRed:  2\n"
                      "dataAvaliable 9\nHeader:  0\nWait for data:  0/5\nRed:  0\n"
                      "dataAvaliable 5\nHeader:  1\nWait for data:  1/1\nRed:  1\n");
    QTest::newRow("cut in header and payload")
        << Payloads{frame("abc").left(3), frame("abc").mid(3, 2), "bc"} << Payloads{"abc"}
        << QByteArray("dataAvaliable 3\n"
                      "dataAvaliable 5\nHeader:  3\nWait for data:  3/1\n"
                      "dataAvaliable 3\nWait for data:  3/3\nRed:  3\n");
    QTest::newRow("the next one begins in the same read")
        << Payloads{frame("a") + frame("bc").left(5), "c"} << Payloads{"a", "bc"}
        << QByteArray("dataAvaliable 10\nHeader:  1\nWait for data:  1/6\nRed:  1\n"
                      "dataAvaliable 5\nHeader:  2\nWait for data:  2/1\n"
                      "dataAvaliable 2\nWait for data:  2/2\nRed:  2\n");
    QTest::newRow("a length with the sign bit is waited for")
        << Payloads{QByteArray("\0\0\0\x80xyz", 7)} << Payloads{}
        << QByteArray("dataAvaliable 7\nHeader:  2147483648\nWait for data:  2147483648/3\n");
    QTest::newRow("the largest length is waited for")
        << Payloads{"\xff\xff\xff\xffxyz"} << Payloads{}
        << QByteArray("dataAvaliable 7\nHeader:  4294967295\nWait for data:  4294967295/3\n");
}

void TestComPort::reassemblesFrames()
{
    QFETCH(Payloads, pieces);
    QFETCH(Payloads, payloads);
    QFETCH(QByteArray, traces);
    Link link;
    QVERIFY(link.open());
    const StdoutCapture output;
    for (const QByteArray& piece : pieces) {
        const int before = output.text().size();
        link.tty.write(piece);
        QTRY_VERIFY(output.text().size() > before);
    }
    QCOMPARE(output.text(), traces);
    QCOMPARE(link.delivered, payloads);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    QVERIFY(usage.ru_maxrss < 1'000'000); // KiB: what is only announced takes no memory
}

void TestComPort::shortReadsLoseNothing()
{
    ShortDevice device;
    quint32 readState = AwaitsHeader;
    quint32 frameLength = 0;
    std::optional<std::string> payload;
    for (const char byte : frame("abc")) {
        QVERIFY(!payload);
        device.bytes += byte; // each one short of what is announced
        payload = takeFrame(device, readState, frameLength);
    }
    QCOMPARE(payload, std::optional<std::string>("abc"));
}

void TestComPort::failedOpenReportsThePortThatWasTried()
{
    ComPort port;
    QVERIFY(!port.isOpen());
    QSerialPortInfo gone;
    {
        const MockedTty tty("XCU1", Guise::Bootloader);
        gone = tty.info();
    }
    QVERIFY(!port.open(gone));
    QVERIFY(!port.isOpen());
    QVERIFY(port.getOpenedPort() == gone);
    QCOMPARE(port.getSerialNumber(), std::string("XCU1"));
    QCOMPARE(port.getVid(), UsbId::vendor);
    QCOMPARE(port.getPid(), UsbId::bootloader);
    QVERIFY(!port.error().empty());
}

void TestComPort::onePortServesOneProgram()
{
    Link first;
    QVERIFY(first.open());
    ComPort second;
    QVERIFY(!second.open(first.tty.info()));
    first.tty.write(frame("a"));
    QTRY_COMPARE(first.delivered, Payloads{"a"});
    first.port.close();
    QCOMPARE(first.port.error(), std::string()); // there is no port object any more
    QVERIFY(second.open(first.tty.info()));
}

void TestComPort::closeKeepsTheCutFrame()
{
    Link link;
    QVERIFY(link.open());
    {
        const StdoutCapture output;
        link.tty.write(frame("abcdef").left(6));
        QTRY_VERIFY(output.text().contains("Wait for data:  6/2"));
    }
    link.port.close();
    QVERIFY(link.open());
    link.tty.write("uvwxyz" + frame("ok"));
    QTRY_COMPARE(link.delivered, (Payloads{"uvwxyz", "ok"}));
}

void TestComPort::everyOpenAddsAPollUntilClose()
{
    Link link;
    const auto pollsInATick = [] {
        const StdoutCapture output;
        [&] { QTRY_VERIFY(!output.text().isEmpty()); }();
        return output.text();
    };
    const QByteArray poll("dataAvaliable 0\n");
    QVERIFY(link.open());
    QVERIFY(link.open());
    QCOMPARE(pollsInATick(), poll + poll);
    QVERIFY(!link.port.open(QSerialPortInfo())); // counts, and leaves the timer running
    QCOMPARE(pollsInATick(), poll + poll + poll);
    QVERIFY(link.open());
    link.port.close();
    QVERIFY(link.open());
    QCOMPARE(pollsInATick(), poll);
}

void TestComPort::handlerMayDoAnythingToThePort_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<Payloads>("payloads");
    const auto row = [](const char* name, const Payloads& payloads, const Action& action) {
        QTest::newRow(name) << action << payloads;
    };
    row("lets the receive loop in again", {"a", "b"}, [](ComPort& port, const QSerialPortInfo&) {
        port.dataAvaliable();
        QCoreApplication::processEvents();
    });
    row("closes it", {"a"}, [](ComPort& port, const QSerialPortInfo&) { port.close(); });
    row("fails to open another", {"a"},
        [](ComPort& port, const QSerialPortInfo&) { port.open(QSerialPortInfo()); });
    row("opens another", {"a"},
        [](ComPort& port, const QSerialPortInfo& other) { port.open(other); });
    row("opens another within an event loop", {"a"},
        [](ComPort& port, const QSerialPortInfo& other) {
            QEventLoop loop;
            QTimer::singleShot(0, &port, [&] { port.open(other); });
            QTimer::singleShot(0, &loop, &QEventLoop::quit);
            loop.exec();
            QCoreApplication::processEvents(); // where a deleted port would still be in use
        });
}

void TestComPort::handlerMayDoAnythingToThePort()
{
    QFETCH(Action, action);
    QFETCH(Payloads, payloads);
    Link link;
    const MockedTty other("XCU2");
    const QSerialPortInfo otherPort = other.info();
    QVERIFY(link.open());
    link.handler = [&] { action(link.port, otherPort); };
    link.tty.write(frame("a") + frame("b"));
    QTRY_COMPARE(link.delivered, payloads);
    QVERIFY(link.open());
    link.tty.write(frame("z"));
    QTRY_COMPARE(link.delivered, payloads + Payloads{"z"});
}

void TestComPort::sendsFramesOrDumpsThem()
{
    Link link;
    const std::string payload("\0\x7f~text of more than sixteen", 28);
    const QByteArray dump = "Failed to send data\n"
                            "00000000  00 7f 7e 74 65 78 74 20 6f 66 20 6d 6f 72 65 20  "
                            "|..~text of more |\n"
                            "00000010  74 68 61 6e 20 73 69 78 74 65 65 6e              "
                            "|than sixteen|\n";
    QCOMPARE(stdoutOf([&] { link.port.commandSend(payload); }), dump);
    QVERIFY(link.open());
    QCOMPARE(stdoutOf([&] { link.port.commandSend(payload); }), QByteArray("<<==>>X\n"));
    QByteArray sent;
    QTRY_COMPARE(sent += link.tty.read(), frame(QByteArray::fromStdString(payload)));
    link.port.close();
    QCOMPARE(stdoutOf([&] { link.port.commandSend(payload); }), dump);
}

void TestComPort::sendsFromAnyThreadWithoutWaiting()
{
    Link link;
    QVERIFY(link.open());
    const auto payload = [](char from, int number) {
        // The first is more than the line takes at once.
        return std::string(number == 0 ? 200'000 : number, from);
    };
    std::thread worker([&] {
        for (int i = 0; i < 50; ++i) {
            link.port.commandSend(payload('w', i));
        }
    });
    worker.join(); // although this thread does not run its event loop
    for (int i = 0; i < 50; ++i) {
        link.port.commandSend(payload('m', i));
    }
    QByteArray expected;
    for (const char from : {'m', 'w'}) { // what was queued comes after what was written directly
        for (int i = 0; i < 50; ++i) {
            expected += frame(QByteArray::fromStdString(payload(from, i)));
        }
    }
    QByteArray sent;
    for (QDeadlineTimer limit(30'000); sent.size() < expected.size() && !limit.hasExpired();) {
        QCoreApplication::processEvents();
        sent += link.tty.read();
    }
    QVERIFY(sent == expected);
}

QTEST_GUILESS_MAIN(TestComPort)
#include "tst_comport.moc"
