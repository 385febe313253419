// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/valueviewer.h"

#include "workbench/channelnames.h"
#include "workbench/steadygridlayout.h"

#include <QCheckBox>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>
#include <algorithm>

namespace {

// Sets a text without asking for a repaint of the label alone. A hundred labels that are repainted
// one by one cost three times as much as the area around them.
void setTextQuietly(QLabel* label, const QString& text)
{
    label->setAttribute(Qt::WA_UpdatesDisabled, true);
    label->setText(text);
    label->setAttribute(Qt::WA_UpdatesDisabled, false);
}

} // namespace

ValueViewer::ValueViewer(QWidget* parent)
    : QWidget(parent)
    , gridLayout(new workbench::SteadyGridLayout(this))
    , seqNo(new QLabel(QStringLiteral("SeqNo: ")))
    , timestamp(new QLabel(QStringLiteral("Timestamp: ")))
{
    setObjectName(QStringLiteral("ValueViewer"));
    resize(400, 300);
    setWindowIcon(QIcon(QStringLiteral(":/zelmark.ico")));
    setWindowTitle(QStringLiteral("Form"));
    setToolTip(QStringLiteral(
        "A right click switches between choosing channels and reading those chosen."));
    gridLayout->setObjectName(QStringLiteral("gridLayout"));
    seqNo->setObjectName(QStringLiteral("seqNo"));
    timestamp->setObjectName(QStringLiteral("timestamp"));
    gridLayout->addWidget(seqNo, 0, 0);
    gridLayout->addWidget(timestamp, 0, 1);
}

void ValueViewer::update(
    unsigned int sampleNumber, unsigned int timestampMs, std::vector<int>& values)
{
    const int rows = static_cast<int>(channelLabels.size());
    for (const QString& name : workbench::channelNames(rows, static_cast<int>(values.size()))) {
        addRow(name);
    }
    gridLayout->setSteady(true);
    seqNo->setText(QStringLiteral("SeqNo: %1").arg(sampleNumber));
    timestamp->setText(QStringLiteral("Timestamp: %1").arg(timestampMs));
    QRect changed;
    for (std::size_t channel = 0; channel < values.size(); ++channel) {
        if (values[channel] != shownValues[channel]) {
            shownValues[channel] = values[channel];
            setTextQuietly(channelValues[channel], QString::number(values[channel]));
            changed |= channelValues[channel]->geometry();
        }
    }
    gridLayout->setSteady(false);
    update(changed);
    const std::array<int, 3> widths = neededWidths();
    if (widths != laidOutWidths) {
        laidOutWidths = widths;
        gridLayout->invalidate();
    }
}

// In pixels: of the texts in row 0 and of the widest value on display. Values are measured by their
// characters; to lay out each one would be slow.
std::array<int, 3> ValueViewer::neededWidths() const
{
    const QFontMetrics metrics = fontMetrics();
    const int sign = metrics.horizontalAdvance(QLatin1Char('-'));
    std::array<int, 10> digits = {}; // not equally wide in every font
    for (std::size_t digit = 0; digit < digits.size(); ++digit) {
        digits[digit] = metrics.horizontalAdvance(QLatin1Char(char('0' + digit)));
    }
    int widest = 0;
    for (const QLabel* value : channelValues) {
        if (value->isHidden()) {
            continue;
        }
        int width = 0;
        for (const QChar character : value->text()) {
            width += character == QLatin1Char('-') ? sign : digits[character.digitValue()];
        }
        widest = std::max(widest, width);
    }
    return {
        metrics.horizontalAdvance(seqNo->text()), metrics.horizontalAdvance(timestamp->text()),
        widest};
}

void ValueViewer::addRow(const QString& name)
{
    auto* label = new QLabel(name);
    auto* value = new QLabel(QStringLiteral("0"));
    auto* check = new QCheckBox;
    check->setCheckState(Qt::Checked);
    const int row = static_cast<int>(channelLabels.size()) + 1;
    gridLayout->addWidget(label, row, 0);
    gridLayout->addWidget(value, row, 1);
    gridLayout->addWidget(check, row, 2);
    channelNames.push_back(name.toStdString());
    channelShown.push_back(true);
    channelLabels.push_back(label);
    channelValues.push_back(value);
    channelChecks.push_back(check);
    shownValues.push_back(0);
}

void ValueViewer::updateLabels(std::vector<std::string>& /*labels*/) {}

void ValueViewer::showData(std::vector<bool>& /*shown*/) {}

void ValueViewer::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::RightButton) {
        return;
    }
    panelOpen = panelOpen == 0 ? 1 : 0;
    for (std::size_t row = 0; row < channelLabels.size(); ++row) {
        const bool isChosen = channelChecks[row]->checkState() == Qt::Checked;
        channelChecks[row]->setVisible(panelOpen == 1);
        channelLabels[row]->setVisible(panelOpen == 1 || isChosen);
        channelValues[row]->setVisible(panelOpen == 1 || isChosen);
    }
    laidOutWidths = neededWidths(); // what is on display now is laid out anew
}
