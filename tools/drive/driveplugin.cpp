// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivescript.h"

#include <QGenericPlugin>

// Qt loads generic plugins named in the environment at the start of every program, which lets the
// script in without a hook in the program itself.
class DrivePlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "xcudrive.json")

public:
    QObject* create(const QString& name, const QString&) override
    {
        if (name.compare(QLatin1String("xcudrive"), Qt::CaseInsensitive) != 0) {
            return nullptr;
        }
        return new DriveScript(qEnvironmentVariable("XCU_DRIVE_SCRIPT"));
    }
};

#include "driveplugin.moc"
