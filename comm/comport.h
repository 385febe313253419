// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QObject>
#include <QSerialPort>
#include <QSerialPortInfo>
#include <QString>
#include <QTimer>
#include <QWaitCondition>
#include <memory>
#include <string>
#include <vector>

// The one transport between the PC and a controller: frames (comm/frame.h) over a serial port. It
// knows nothing of what the frames contain.
//
// All operations belong to the thread that owns the object, except commandSend. A handler of
// commandRead may close or reopen the port and may run an event loop of its own, but must not
// destroy the ComPort.
class ComPort : public QObject
{
    Q_OBJECT

public:
    // Opens the given port in place of the present one, with the line parameters as they are.
    // False if it cannot be opened; getSerialNumber and getOpenedPort then report it all the same.
    bool open(QSerialPortInfo port);
    void close();
    bool isOpen() const { return serialPort && serialPort->isOpen(); }

    // Sends one payload as a frame, without waiting for the line. May be called from any thread: a
    // call from outside the owning thread is queued to it. On a closed port the payload is dumped
    // to standard output and lost. A payload above 4 GiB - 1 ends the program.
    void commandSend(std::string data);

    // Of the port last passed to open: its USB serial number (UTF-8), and its USB identifiers, 0 if
    // it has none.
    std::string getSerialNumber() const { return serialNumber.toStdString(); }
    quint16 getVid() const { return openedPort.vendorIdentifier(); }
    quint16 getPid() const { return openedPort.productIdentifier(); }
    QSerialPortInfo getOpenedPort() const { return openedPort; }
    // The port's error text, UTF-8; empty without a port object.
    std::string error() const
    {
        return serialPort ? serialPort->errorString().toStdString() : std::string();
    }

    // Look for the unit with the serial number of the last open, device or bootloader, every 100
    // ms until it is found and opened. The first attempt is made before the call returns.
    void reconnect();
    void reconnectDevice();

    // Block the calling thread, without a time limit, until the unit is there: the first as a
    // bootloader, the second as a running device. Nothing is opened.
    void waitForPortAvaliable();
    void waitForDevicePortAvaliable();

signals:
    void commandRead(std::string data); // the payload of one frame
    void deviceReconnected();
    void bootloaderReconnected();

public slots:
    // Delivers all whole frames that have arrived. While it runs, further calls return at once.
    void dataAvaliable();
    void reconnectDeviceService();
    void reconnectBootloderService();

private:
    void retire(std::unique_ptr<QSerialPort> port);
    bool reopen();

    // The order is that of construction: on destruction the port goes last, after the timers that
    // would read from it.
    std::unique_ptr<QSerialPort> serialPort = std::make_unique<QSerialPort>(); // null after close
    QSerialPortInfo openedPort;   // last passed to open
    QMutex readMutex;             // never locked
    QMutex writeMutex;            // held while a frame is written
    QMutex portMutex;             // never locked
    QWaitCondition readCondition; // never used
    QWaitCondition portCondition; // never used
    bool aborted = false;         // never read
    QString serialNumber;         // of openedPort
    // Both survive close and open: a frame cut by a close takes its payload from the next session.
    quint32 readState = 0;   // 0: the header comes next, 1: the payload
    quint32 frameLength = 0; // of the frame that readState is in, bytes
    QTimer pollTimer;        // for bytes that no readyRead announced
    QTimer reconnectTimer;
    bool receiving = false;                                 // inside dataAvaliable
    std::vector<std::unique_ptr<QSerialPort>> retiredPorts; // closed, with readyRead on the stack
};
