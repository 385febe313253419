// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QGridLayout>

namespace workbench {

// A grid that can be kept as it is while labels in it change their texts. Each new text would have
// it laid out anew, which takes longer than to paint the texts.
class SteadyGridLayout : public QGridLayout
{
public:
    using QGridLayout::QGridLayout;

    // While steady, texts that need more or less room than before go unnoticed. Whoever sets such
    // a text calls invalidate() later.
    void setSteady(bool on) { steady = on; }

    void invalidate() override
    {
        if (!steady) {
            QGridLayout::invalidate();
        }
    }

private:
    bool steady = false;
};

} // namespace workbench
