// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/channelbox.h"

#include "formats/channelcolour.h"

#include <QCheckBox>
#include <QPixmap>

namespace console {

namespace {

// Below the height of a text, so that the rows of the strip stay as high as they are without it.
constexpr int SwatchSize = 10; // pixels

} // namespace

void showChannel(QCheckBox* box, int channel)
{
    QPixmap swatch(SwatchSize, SwatchSize);
    swatch.fill(formats::channelColour(channel));
    box->setIcon(swatch);
    box->setIconSize(swatch.size());
    box->setToolTip(
        QStringLiteral(
            "Shows or hides the curve of channel %1, which has the colour of the square.")
            .arg(channel));
}

} // namespace console
