// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"
#include "comm/portdiscovery.h"
#include "mockedtty.h"

#include <QtTest>
#include <future>
#include <memory>

class TestPortDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void portsAreFoundByIdentifiersAndEqualByTexts()
    {
        const auto nameOf = [](auto lookup, QString serial) { return lookup(serial).portName(); };
        // What is replaced, whether the unit is found then, and whether the port equals itself.
        const std::tuple<QByteArray, QByteArray, bool, bool> rows[] = {
            {"ID_MODEL_ID=eef0", "ID_MODEL_ID=eef1", false, true},
            {"ID_MODEL_ID=eef0", "ID_MODEL_ID=eeef", true, true},
            {"ID_VENDOR_ID=04d8", "ID_VENDOR_ID=0403", false, true},
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

    void listsPortsAfreshWhenThereIsAReason()
    {
        comm::PortList list;
        MockedTty tty("XCU1");
        quint16 product = comm::UsbId::device;
        const auto listed = [&]() -> int {
            for (const QSerialPortInfo& port : list.availablePorts()) {
                if (port.portName() == tty.name) {
                    return port.productIdentifier();
                }
            }
            return -1;
        };
        const auto change = [&] {
            const QByteArray before = "ID_MODEL_ID=" + QByteArray::number(product, 16);
            tty.replaceProperty(before, "ID_MODEL_ID=" + QByteArray::number(++product, 16));
        };
        QCOMPARE(listed(), int(product));
        change(); // it still settles
        QCOMPARE(listed(), int(product));
        QTRY_VERIFY((listed(), change(), listed()) != product); // and now it is trusted,
        QTRY_COMPARE(listed(), int(product));                   // but not for long
        tty.remake();                                           // under the same name
        QCOMPARE(listed(), int(comm::UsbId::device));
    }
};

QTEST_GUILESS_MAIN(TestPortDiscovery)
#include "tst_portdiscovery.moc"
