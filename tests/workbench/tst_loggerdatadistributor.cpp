// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "support/portrig.h"
#include "workbench/idatapresenter.h"
#include "workbench/loggerdatadistributor.h"

#include <QTest>
#include <functional>

namespace {

struct Sink final : IDataPresenter
{
    explicit Sink(std::function<void()> action)
        : onRecord(std::move(action))
    {}
    void update(unsigned int, unsigned int, std::vector<int>&) override { onRecord(); }
    void updateLabels(std::vector<std::string>&) override {}
    void showData(std::vector<bool>&) override {}

    std::function<void()> onRecord;
};

// A distributor with a controller of its own.
struct Logger
{
    explicit Logger(const QString& portName) { port.open(QSerialPortInfo(portName)); }

    ComPort port;
    CommandsSender sender{port};
    LoggerDataDistributor distributor{sender};
};

} // namespace

class TestLoggerDataDistributor : public QObject
{
    Q_OBJECT

private slots:
    void fanOut();
    void workers();
};

void TestLoggerDataDistributor::fanOut()
{
    Logger logger("none");
    LoggerDataDistributor& distributor = logger.distributor;
    QString calls;
    Sink a{[&] { calls += 'a'; }};
    Sink b{[&] { calls += 'b'; }};
    Sink leaving{[&] { distributor.removeSink(&leaving); }};
    for (IDataPresenter* sink : {&leaving, &b, &a, &b}) {
        distributor.addSink(sink);
    }
    distributor.loggerDataReceived(1, 2, {3});
    QCOMPARE(calls, QString("bab"));
    distributor.removeSink(&b);
    distributor.removeSink(&leaving);
    distributor.loggerDataReceived(2, 3, {4});
    distributor.loggerDataReceived(3, 4, std::vector<int>(1025)); // no controller means that
    QCOMPARE(calls, QString("baba"));
}

void TestLoggerDataDistributor::workers()
{
    std::vector<ControllerOptions> controllers(2);
    controllers[1].serialNumber = "XCU0002";
    PortRig rig(controllers);
    rig.plug(0);
    rig.plug(1);
    Logger one(rig.portName(0));
    auto three = std::make_unique<Logger>(rig.portName(1));
    const auto requests = [&](int index) {
        return rig.count(xcu::Command::kDataloggerData, index);
    };
    one.distributor.loggerStarted();
    QTRY_COMPARE(requests(0), 1); // at once
    for (int start = 0; start < 3; ++start) {
        three->distributor.loggerStarted();
        three->distributor.loggerStopped(); // stops none
    }
    QTRY_VERIFY(requests(0) >= 11);
    QVERIFY2(requests(1) >= 25, qPrintable(QString::number(requests(1)))); // three times as many

    three->distributor.stop();
    const int before = requests(0);
    QTRY_VERIFY(requests(0) > before); // what was under way has arrived
    const int last = requests(1);
    QTRY_VERIFY(requests(0) > before + 3);
    QCOMPARE(requests(1), last);
    three->distributor.loggerStarted();
    three.reset(); // while its worker polls
}

QTEST_GUILESS_MAIN(TestLoggerDataDistributor)
#include "tst_loggerdatadistributor.moc"
