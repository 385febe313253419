// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "support/portrig.h"
#include "workbench/idatapresenter.h"
#include "workbench/loggerdatadistributor.h"

#include <QSerialPortInfo>
#include <QTest>
#include <array>
#include <functional>
#include <memory>

namespace {

class Sink final : public IDataPresenter
{
public:
    explicit Sink(std::function<void(const std::vector<int>&)> action)
        : onRecord(std::move(action))
    {}
    void update(unsigned int, unsigned int, std::vector<int>& values) override { onRecord(values); }
    void updateLabels(std::vector<std::string>&) override {}
    void showData(std::vector<bool>&) override {}

private:
    std::function<void(const std::vector<int>&)> onRecord;
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
    ComPort port;
    CommandsSender sender(port);
    LoggerDataDistributor distributor(sender);
    QStringList calls;
    QVector<const int*> vectors;
    const auto callOf = [&](const char* name) {
        return [&calls, &vectors, name](const std::vector<int>& values) {
            calls << name;
            vectors << values.data();
        };
    };
    Sink first(callOf("first"));
    Sink twice(callOf("twice"));
    Sink once([&](const std::vector<int>&) { distributor.removeSink(&once); });
    for (IDataPresenter* sink : {&once, &twice, &first, &twice}) {
        distributor.addSink(sink);
    }
    distributor.loggerDataReceived(1, 2, {3});
    QCOMPARE(calls, QStringList({"twice", "first", "twice"}));
    QCOMPARE(vectors.count(vectors.first()), 3); // one vector for all
    distributor.removeSink(&twice);
    distributor.removeSink(&once);
    distributor.loggerDataReceived(2, 3, {4});
    QCOMPARE(calls.mid(3), QStringList("first"));
    distributor.loggerDataReceived(3, 4, std::vector<int>(1025)); // no controller means that
    QCOMPARE(calls.size(), 4);
}

void TestLoggerDataDistributor::workers()
{
    std::vector<ControllerOptions> controllers(2);
    controllers[1].serialNumber = "XCU0002";
    PortRig rig(controllers);
    std::array<ComPort, 2> ports;
    std::vector<std::unique_ptr<CommandsSender>> senders;
    std::vector<std::unique_ptr<LoggerDataDistributor>> distributors;
    for (int index = 0; index < 2; ++index) {
        rig.plug(index);
        QVERIFY(ports[index].open(QSerialPortInfo(rig.portName(index))));
        senders.push_back(std::make_unique<CommandsSender>(ports[index]));
        distributors.push_back(std::make_unique<LoggerDataDistributor>(*senders.back()));
    }
    const auto requests = [&](int index) {
        return rig.count(xcu::Command::kDataloggerData, index);
    };
    distributors[0]->loggerStarted();
    QTRY_COMPARE(requests(0), 1); // at once
    for (int start = 0; start < 3; ++start) {
        distributors[1]->loggerStarted();
        distributors[1]->loggerStopped(); // stops none
    }
    QTRY_VERIFY(requests(0) >= 11);
    QVERIFY2(requests(1) >= 25, qPrintable(QString::number(requests(1)))); // three times as many

    distributors[1].reset(); // while its workers poll
    const int before = requests(0);
    QTRY_VERIFY(requests(0) > before); // what was under way has arrived
    const int last = requests(1);
    QTRY_VERIFY(requests(0) > before + 3);
    QCOMPARE(requests(1), last);
}

QTEST_GUILESS_MAIN(TestLoggerDataDistributor)
#include "tst_loggerdatadistributor.moc"
