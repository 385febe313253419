// SPDX-License-Identifier: GPL-3.0-or-later

// Ahead of Qt, whose keyword macros would spoil the names in this header.
#include <umockdev.h>

#include "simulator/testbed.h"

#include <QDir>
#include <QFile>

using namespace simulator;

namespace {

constexpr const char* preloadLibrary = "libumockdev-preload.so.0";

// A unit with one serial interface. The tty needs its parents, or it is not listed. There is no N:
// line on purpose: the library would make the node itself and could not add it a second time.
constexpr const char* description = R"(P: %1
E: SUBSYSTEM=usb
E: DEVTYPE=usb_device
A: idVendor=04d8
A: idProduct=%2
A: serial=%4

P: %1/%5:1.0
E: SUBSYSTEM=usb
E: DEVTYPE=usb_interface
E: DRIVER=cdc_acm

P: %1/%5:1.0/tty/%6
E: SUBSYSTEM=tty
E: DEVNAME=/dev/%6
E: ID_BUS=usb
E: ID_VENDOR_ID=04d8
E: ID_MODEL_ID=%2
E: ID_MODEL=%3
E: ID_SERIAL_SHORT=%4
A: dev=166:0

)";

QString usbPath(const QString& portName)
{
    return "/devices/pci0000:00/0000:00:14.0/usb1/1-" + portName;
}

void warn(const char* what, GError* error)
{
    if (error != nullptr) {
        qWarning("Testbed: %s: %s", what, error->message);
        g_error_free(error);
    }
}

// Left to itself the library refuses every ioctl call of a program. They are meant for the terminal
// behind the node, above all the one that makes a port exclusive.
gboolean passThrough(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer)
{
    int error = 0;
    const int result = umockdev_ioctl_client_execute(client, &error, nullptr);
    umockdev_ioctl_client_complete(client, result, error);
    return TRUE;
}

} // namespace

Testbed::Testbed()
    : library(umockdev_testbed_new())
    , ioctls(umockdev_ioctl_base_new())
{
    char* root = umockdev_testbed_get_root_dir(library);
    rootDirectory = QFile::decodeName(root);
    g_free(root);
    QDir(rootDirectory).mkdir(QStringLiteral("dev"));
    g_signal_connect(ioctls, "handle-ioctl", G_CALLBACK(passThrough), nullptr);
    // In place of the library's own handler for all nodes. One for a single node would take part in
    // every read and write as well, at a third of the speed. So does this one from 0.19 on, and a
    // program would stand still with us; but these releases do without: calls go to the terminal.
    QFile::remove(rootDirectory + QStringLiteral("/ioctl/_default"));
    if (XCU_UMOCKDEV_WANTS_HANDLER) {
        GError* error = nullptr;
        umockdev_testbed_attach_ioctl(library, "_default", ioctls, &error);
        warn("ioctl calls are not handed on", error);
    }
}

Testbed::~Testbed()
{
    g_object_unref(ioctls);
    g_object_unref(library);
}

QProcessEnvironment Testbed::addTo(QProcessEnvironment environment) const
{
    const QString variable = QStringLiteral("LD_PRELOAD");
    QString libraries = environment.value(variable);
    if (!libraries.contains(QLatin1String(preloadLibrary))) {
        libraries += (libraries.isEmpty() ? QString() : QStringLiteral(":")) + preloadLibrary;
    }
    environment.insert(variable, libraries);
    environment.insert(QStringLiteral("UMOCKDEV_DIR"), rootDirectory);
    return environment;
}

void Testbed::addPort(
    const QString& name, const QString& terminal, const QString& serialNumber, Mode mode)
{
    const bool isDevice = mode == Mode::Device;
    // Qt tells ports apart by the model, not by the identifiers: each mode needs its own.
    const QString model = isDevice ? QStringLiteral("XCU") : QStringLiteral("XCU_Bootloader");
    const QString product = isDevice ? QStringLiteral("eef0") : QStringLiteral("eeef");
    const QString path = usbPath(name);
    const QString text = QString::fromLatin1(description)
                             .arg(path, product, model, serialNumber, path.section('/', -1), name);

    QFile::link(terminal, rootDirectory + "/dev/" + name);
    GError* error = nullptr;
    umockdev_testbed_add_from_string(library, text.toUtf8().constData(), &error);
    warn("a port cannot be added", error);
}

void Testbed::removePort(const QString& name)
{
    const QString device = QStringLiteral("/sys") + usbPath(name);
    const QString interface = device + QLatin1Char('/') + device.section('/', -1) + ":1.0";
    for (const QString& path : {interface + "/tty/" + name, interface, device}) {
        umockdev_testbed_remove_device(library, path.toUtf8().constData());
    }
    QFile::remove(rootDirectory + "/dev/" + name);
}
