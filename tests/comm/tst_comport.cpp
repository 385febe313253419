// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"
#include "comm/frame.h"
#include "comm/portdiscovery.h"
#include "mockedtty.h"
#include "platform/diagnostics.h"
#include "support/stdoutcapture.h"

#include <QtTest>
#include <fcntl.h>
#include <functional>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using Payloads = QList<QByteArray>;

QByteArray frame(const QByteArray& payload)
{
    return QByteArray::fromStdString(comm::makeFrame(payload.toStdString()));
}

// A ComPort with a line to it, and what it delivered.
struct Link : QObject
{
    Link()
    {
        qApp->installEventFilter(this);
        QObject::connect(&port, &ComPort::commandRead, &port, [this](const std::string& data) {
            delivered << QByteArray::fromStdString(data);
            if (const auto action = std::exchange(handler, nullptr)) {
                action();
            }
        });
    }
    bool open() { return port.open(tty.info()); }
    bool eventFilter(QObject* notifier, QEvent* event) override
    {
        if (event->type() == QEvent::SockAct && qobject_cast<QSerialPort*>(notifier->parent())) {
            announcing = notifier->parent();
        }
        return false;
    }

    MockedTty tty{"XCU1"};
    ComPort port;
    Payloads delivered;
    std::function<void()> handler; // of the next frame
    QPointer<QObject> announcing;  // the port object whose readyRead is on the stack
};

} // namespace

class TestComPort : public QObject
{
    Q_OBJECT

private slots:
    void reassemblesFrames()
    {
        const QByteArray zero("a\0c", 3);
        // Pieces, payloads and traces; at an empty piece the port is opened anew.
        const std::tuple<Payloads, Payloads, QByteArray> rows[] = {
            {{frame(zero).left(3), frame(zero).mid(3, 2), zero.mid(1) + frame("de").left(5), "e"},
             {zero, "de"},
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
            {openInEventLoop, {"a"}},
        };
        for (const auto& row : rows) {
            Link link;
            QVERIFY(link.open());
            bool survived = false;
            link.handler = [&] {
                row.first(link.port);
                survived = !link.announcing.isNull();
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
    }

    void sendsFromAnyThreadWithoutWaiting()
    {
        Link link;
        QVERIFY(link.open());
        QByteArray queued, written;
        const auto send = [&](char from, QByteArray& frames) {
            for (int size = 100'000; size > 0; size /= 2) { // the line takes less at once
                frames += frame(QByteArray(size, from));
                link.port.commandSend(std::string(size, from));
            }
        };
        std::thread(send, 'q', std::ref(queued)).join(); // this thread runs no event loop meanwhile
        send('w', written);
        QByteArray sent;
        const auto isAllSent = [&] {
            sent += link.tty.read();
            return sent.size() >= written.size() + queued.size();
        };
        QVERIFY(QTest::qWaitFor(isAllSent, 30'000));
        QVERIFY(sent == written + queued);
    }

    // Nothing that is said waits for a reader who stands still: 4 MB are kept, in order, and of the
    // rest whole lines are left out and counted, though a line may come in parts.
    void traceWaitsForItsReader()
    {
        constexpr int total = 100'000;
        const auto line = [](int number) {
            return QByteArray::number(number).rightJustified(63) + '\n';
        };
        int ends[2] = {};
        QVERIFY(pipe2(ends, O_CLOEXEC) == 0 && fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0);
        const auto read = [&] {
            QByteArray bytes(1 << 16, '\0'); // as much as a pipe holds
            bytes.resize(qMax(0, int(::read(ends[0], bytes.data(), size_t(bytes.size())))));
            return bytes;
        };
        const int original = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        const StdoutCapture errors(STDERR_FILENO);
        for (int i = 0; i < total; ++i) {
            platform::printText(line(i).left(i % 64).toStdString());
            platform::printText(line(i).mid(i % 64).toStdString());
        }
        QByteArray text;
        const bool hasEnded = QTest::qWaitFor([&] {
            text += read();
            return !errors.text().isEmpty();
        });
        platform::printLine("next");
        const QByteArray next = read();
        dup2(original, STDOUT_FILENO);
        for (const int descriptor : {original, ends[0], ends[1]}) {
            ::close(descriptor);
        }
        QVERIFY(hasEnded);
        const int kept = text.count('\n');
        for (int i = 0; i < kept; ++i) {
            QCOMPARE(text.mid(64 * i, 64), line(i));
        }
        QVERIFY(text.size() > 4 << 20);
        const QByteArray lost = QByteArray::number(total - kept);
        QCOMPARE(errors.text(), "standard output: not read, " + lost + " lines left out\n");
        QCOMPARE(next, QByteArray("next\n"));
    }
};

QTEST_GUILESS_MAIN(TestComPort)
#include "tst_comport.moc"
