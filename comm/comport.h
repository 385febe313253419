// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QMutex>
#include <QObject>
#include <QSerialPortInfo>
#include <QString>
#include <QTimer>
#include <QWaitCondition>
#include <string>

class QSerialPort;

// Ports of a controller in either guise (bootloader or running device), told by the USB identifiers
// below and by an exact, case-sensitive match of the USB serial number. The first match in the
// order of QSerialPortInfo::availablePorts() wins; a null info stands for "not found".
QSerialPortInfo getPortBySerialNumber(QString& serial);
QSerialPortInfo getBootloaderPortBySerialNumber(QString& serial);
QSerialPortInfo getDevicePortBySerialNumber(QString& serial);

// The one transport between the PC and a controller: 32-bit little-endian length, then that many
// bytes of payload, in both directions. It knows nothing of what the frames contain.
//
// All operations belong to the thread that owns the object, except commandSend.
class ComPort : public QObject
{
    Q_OBJECT

public:
    ComPort();
    ~ComPort() override;

    // Opens the given port in place of the present one, with the line parameters as they are.
    // False if it cannot be opened; getSerialNumber and getOpenedPort then report it all the same.
    bool open(QSerialPortInfo port);
    void close();
    bool isOpen() const;

    // Sends one payload as a frame, without waiting for the line. May be called from any thread: a
    // call from outside the owning thread is queued to it. On a closed port the payload is dumped
    // to standard output and lost. A payload above 4 GiB - 1 ends the program.
    void commandSend(std::string data);

    std::string getSerialNumber() const; // UTF-8, of the port last passed to open
    quint16 getVid() const;
    quint16 getPid() const;
    std::string error() const; // the port's error text, UTF-8; empty without a port object
    QSerialPortInfo getOpenedPort() const;

    // Look for the unit with the serial number of the last open, in either guise, every 100 ms
    // until one is found and opened. The first attempt is made before the call returns.
    void reconnect();
    void reconnectDevice();

    // Block the calling thread, without a time limit, until the unit is there.
    void waitForPortAvaliable();
    void waitForDevicePortAvaliable();

signals:
    void commandRead(std::string data);
    void deviceReconnected();
    void bootloaderReconnected();

public slots:
    void dataAvaliable();
    void reconnectDeviceService();
    void reconnectBootloderService();
};
