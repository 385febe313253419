// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"
#include "comm/portdiscovery.h"
#include "mockedtty.h"

#include <QSignalSpy>
#include <QTest>
#include <chrono>
#include <future>
#include <memory>

namespace {

QString nameOf(QSerialPortInfo (*lookup)(QString&), QString serial)
{
    return lookup(serial).portName();
}

} // namespace

class TestPortDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void portsAreFoundByIdentifiersAndEqualByTexts()
    {
        // What is replaced, whether the unit is found then, and whether the port equals what it
        // was.
        const std::tuple<QByteArray, QByteArray, bool, bool> rows[] = {
            {"ID_MODEL_ID=eef0", "ID_MODEL_ID=eef1", false, true},
            {"ID_MODEL_ID=eef0", "ID_MODEL_ID=eeef", true, true},
            {"ID_MODEL_ID=eef0\n", "", false, true},
            {"ID_VENDOR_ID=04d8", "ID_VENDOR_ID=0403", false, true},
            {"ID_VENDOR_ID=04d8\n", "", false, true},
            {"ID_SERIAL_SHORT=XCU7", "ID_SERIAL_SHORT=xcu7", false, false},
            {"ID_MODEL=XCU", "ID_MODEL=Loader", true, false}, // how a bootloader is seen
            {"ID_BUS=usb", "ID_BUS=usb\nID_VENDOR=Another", true, false},
        };
        for (const auto& [property, replacement, isFound, isEqual] : rows) {
            MockedTty tty("XCU7");
            const QList<QSerialPortInfo> before{tty.info()};
            tty.replaceProperty(property, replacement);
            QCOMPARE(nameOf(getPortBySerialNumber, "XCU7"), isFound ? tty.name : QString());
            QCOMPARE(before == QList<QSerialPortInfo>{tty.info()}, isEqual);
        }
        const MockedTty device("XCU7");
        QCOMPARE(nameOf(getDevicePortBySerialNumber, "XCU7"), device.name);
        QCOMPARE(nameOf(getBootloaderPortBySerialNumber, "XCU7"), QString());
        const MockedTty bootloader("XCU8", simulator::Mode::Bootloader);
        QCOMPARE(nameOf(getDevicePortBySerialNumber, "XCU8"), QString());
        QCOMPARE(nameOf(getBootloaderPortBySerialNumber, "XCU8"), bootloader.name);
    }

    void keepsLookingUntilTheUnitIsBack()
    {
        auto tty = std::make_unique<MockedTty>("XCU1");
        ComPort port;
        QSignalSpy asDevice(&port, &ComPort::deviceReconnected);
        QSignalSpy asBootloader(&port, &ComPort::bootloaderReconnected);
        QVERIFY(port.open(tty->info()));
        tty.reset();
        port.reconnect();
        port.reconnect(); // two attempts a tick now; the first that succeeds ends both
        QCOMPARE(asDevice.count(), 0);

        tty = std::make_unique<MockedTty>("XCU1");
        ComPort holder; // the unit is there, but somebody else has it open
        QVERIFY(holder.open(tty->info()));
        QTRY_VERIFY(!port.isOpen());
        QVERIFY(!asDevice.wait(300));
        holder.close();
        QVERIFY(asDevice.wait());
        QVERIFY(port.isOpen());
        QCOMPARE(port.getOpenedPort().portName(), tty->name);

        // As a bootloader it is taken by either service, which ends the attempts of both.
        tty = std::make_unique<MockedTty>("XCU1", simulator::Mode::Bootloader);
        port.reconnectDevice(); // succeeds at once: the unit is there
        QCOMPARE(asBootloader.count(), 1);
        tty.reset();
        port.reconnect();
        tty = std::make_unique<MockedTty>("XCU1", simulator::Mode::Bootloader);
        port.reconnectDeviceService();
        QCOMPARE(asBootloader.count(), 2);
        QVERIFY(!asBootloader.wait(300));
        QCOMPARE(asDevice.count(), 1);
    }

    void waitsForTheStateThatWasAskedFor()
    {
        auto tty = std::make_unique<MockedTty>("XCU1");
        ComPort port;
        QVERIFY(port.open(tty->info()));
        port.waitForDevicePortAvaliable();
        const auto waiting = std::async(std::launch::async, [&] { port.waitForPortAvaliable(); });
        const std::future_status early = waiting.wait_for(std::chrono::milliseconds(300));
        const MockedTty bootloader("XCU1", simulator::Mode::Bootloader);
        waiting.wait();
        QCOMPARE(early, std::future_status::timeout);
    }

    void enumeratesWhenThereIsAReason()
    {
        QStringList entries{"ttyS0 1", "ttyACM0 2"};
        qint64 now = 5000;
        int count = 0;
        const auto enumerate = [&] { return ++count, QList<QSerialPortInfo>(); };
        comm::PortList list({[&] { return entries; }, enumerate, [&] { return now; }});
        const auto enumerations = [&](int ticks) {
            const int before = count;
            for (int tick = 0; tick < ticks; ++tick) {
                now += 100;
                list.availablePorts();
            }
            return count - before;
        };
        QCOMPARE(enumerations(21), 21); // it settles
        QCOMPARE(enumerations(30), 3);
        entries[1] = "ttyACM0 3";
        QCOMPARE(enumerations(21), 21);
        QCOMPARE(enumerations(30), 3);
        entries.clear(); // they are not to be had
        QCOMPARE(enumerations(40), 40);

        // Under the same name, and so that the file system's clock has moved on.
        MockedTty tty("XCU1");
        const QStringList before = comm::ttyEntries();
        QTRY_VERIFY((tty.remake(), comm::ttyEntries() != before));
    }
};

QTEST_GUILESS_MAIN(TestPortDiscovery)
#include "tst_portdiscovery.moc"
