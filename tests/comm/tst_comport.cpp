// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"
#include "comm/frame.h"
#include "comm/portdiscovery.h"
#include "mockedtty.h"
#include "support/stdoutcapture.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QPointer>
#include <QTest>
#include <functional>
#include <sys/resource.h>
#include <thread>
#include <utility>

namespace {

using Payloads = QList<QByteArray>;

QByteArray frame(const QByteArray& payload)
{
    return QByteArray::fromStdString(comm::makeFrame(payload.toStdString()));
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

// Knows the port object whose bytes are being announced.
struct PortWatch : QObject
{
    PortWatch() { qApp->installEventFilter(this); }

    bool eventFilter(QObject* notifier, QEvent* event) override
    {
        if (event->type() == QEvent::SockAct && qobject_cast<QSerialPort*>(notifier->parent())) {
            port = notifier->parent();
        }
        return false;
    }

    QPointer<QObject> port;
};

} // namespace

class TestComPort : public QObject
{
    Q_OBJECT

private slots:
    void reassemblesFrames()
    {
        const QByteArray zeros("a\0b", 3);
        // Pieces, payloads and traces; at an empty piece the port is opened anew.
        const std::tuple<Payloads, Payloads, QByteArray> rows[] = {
            {{frame(zeros) + frame("") + frame("c")},
             {zeros, "", "c"},
             "dataAvaliable 16\nHeader:  3\nWait for data:  3/12\nRed:  3\n"
             "dataAvaliable 9\nHeader:  0\nWait for data:  0/5\nRed:  0\n"
             "dataAvaliable 5\nHeader:  1\nWait for data:  1/1\nRed:  1\n"},
            {{frame("abc").left(3), frame("abc").mid(3, 2), "bc" + frame("de").left(5), "e"},
             {"abc", "de"},
             "dataAvaliable 3\n"
             "dataAvaliable 5\nHeader:  3\nWait for data:  3/1\n"
             "dataAvaliable 8\nWait for data:  3/8\nRed:  3\n"
             "dataAvaliable 5\nHeader:  2\nWait for data:  2/1\n"
             "dataAvaliable 2\nWait for data:  2/2\nRed:  2\n"},
            {{QByteArray("\0\0\0\x80xyz", 7)}, // no negative length, and waited for
             {},
             "dataAvaliable 7\nHeader:  2147483648\nWait for data:  2147483648/3\n"},
            {{frame("abcdef").left(6), "", "uvwxyz" + frame("")}, // a cut frame goes on with these
             {"uvwxyz", ""},
             "dataAvaliable 6\nHeader:  6\nWait for data:  6/2\n"
             "dataAvaliable 10\nWait for data:  6/10\nRed:  6\n"
             "dataAvaliable 4\nHeader:  0\nWait for data:  0/0\nRed:  0\n"},
        };
        for (const auto& [pieces, payloads, traces] : rows) {
            Link link;
            QVERIFY(link.open());
            const StdoutCapture output;
            for (const QByteArray& piece : pieces) {
                const int before = output.text().size();
                if (piece.isEmpty()) {
                    link.port.close();
                    QVERIFY(link.open());
                } else {
                    link.tty.write(piece);
                    QTRY_VERIFY(output.text().size() > before);
                }
            }
            QCOMPARE(output.text(), traces);
            QCOMPARE(link.delivered, payloads);
        }
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        QVERIFY(usage.ru_maxrss < 1'000'000); // KiB: what is only announced takes no memory
    }

    void failedOpenReportsThePortThatWasTried()
    {
        ComPort port;
        const QSerialPortInfo gone = MockedTty("XCU1", simulator::Mode::Bootloader).info();
        QVERIFY(!port.open(gone));
        QVERIFY(!port.isOpen());
        QVERIFY(port.getOpenedPort() == gone);
        QCOMPARE(port.getSerialNumber(), std::string("XCU1"));
        QCOMPARE(port.getVid(), comm::UsbId::vendor);
        QCOMPARE(port.getPid(), comm::UsbId::bootloader);
        QVERIFY(!port.error().empty());
    }

    void everyOpenAddsAPollUntilClose()
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

    void handlerMayDoAnythingToThePort()
    {
        const MockedTty other("XCU2");
        const QSerialPortInfo otherPort = other.info();
        const auto readAgain = [](ComPort& port) {
            port.dataAvaliable();
            QCoreApplication::processEvents();
        };
        const auto openInEventLoop = [&](ComPort& port) {
            QEventLoop loop;
            QTimer::singleShot(0, &port, [&] {
                port.open(otherPort);
                QTimer::singleShot(0, &loop, &QEventLoop::quit); // after deletions that are due
            });
            loop.exec();
        };
        // A port that is left takes its second frame with it.
        const std::pair<std::function<void(ComPort&)>, Payloads> rows[] = {
            {readAgain, {"a", "b"}},
            {[](ComPort& port) { port.close(); }, {"a"}},
            {[&](ComPort& port) { port.open(otherPort); }, {"a"}},
            {openInEventLoop, {"a"}},
        };
        for (const auto& row : rows) {
            Link link;
            PortWatch watch;
            QVERIFY(link.open());
            bool survived = false; // the port object, as long as its readyRead is on the stack
            link.handler = [&] {
                row.first(link.port);
                survived = !watch.port.isNull();
            };
            link.tty.write(frame("a") + frame("b"));
            QTRY_COMPARE(link.delivered, row.second);
            QVERIFY(survived);
            QVERIFY(link.open());
            link.tty.write(frame("z"));
            QTRY_COMPARE(link.delivered, row.second + Payloads{"z"});
        }
    }

    void sendsFramesOrDumpsThem()
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

    void sendsFromAnyThreadWithoutWaiting()
    {
        Link link;
        QVERIFY(link.open());
        const auto payloads = [](char from) {
            std::vector<std::string> list{
                std::string(200'000, from)}; // the line takes less at once
            for (std::size_t size = 1; size < 50; ++size) {
                list.emplace_back(size, from);
            }
            return list;
        };
        const auto send = [&](char from) {
            for (const std::string& payload : payloads(from)) {
                link.port.commandSend(payload);
            }
        };
        std::thread(send, 'w').join(); // although this thread does not run its event loop
        send('m');
        std::string expected;
        for (const char from : {'m', 'w'}) { // what was queued comes after what was written
            for (const std::string& payload : payloads(from)) {
                expected += comm::makeFrame(payload);
            }
        }
        QByteArray sent;
        for (QDeadlineTimer limit(30'000);
             sent.size() < int(expected.size()) && !limit.hasExpired();) {
            QCoreApplication::processEvents();
            sent += link.tty.read();
        }
        QVERIFY(sent.toStdString() == expected);
    }
};

QTEST_GUILESS_MAIN(TestComPort)
#include "tst_comport.moc"
