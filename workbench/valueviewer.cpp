// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/valueviewer.h"

#include "workbench/channelnames.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>
#include <QScrollArea>
#include <QVBoxLayout>
#include <limits>

namespace {

// A new text makes the layout compute all rows again, unless the label counts as hidden.
void setTextInPlace(QLabel* label, const QString& text)
{
    const bool wasHidden = label->isHidden();
    label->setAttribute(Qt::WA_WState_Hidden, true);
    label->setText(text);
    label->setAttribute(Qt::WA_WState_Hidden, wasHidden);
}

void setHeading(QLabel* label, const QString& text)
{
    const QSize size = label->sizeHint();
    setTextInPlace(label, text);
    if (label->sizeHint() != size) {
        label->updateGeometry();
    }
}

} // namespace

ValueViewer::ValueViewer(QWidget* parent)
    : QWidget(parent)
    , rows(new QWidget)
    , gridLayout(new QGridLayout(rows))
    , seqNo(new QLabel(QStringLiteral("SeqNo: ")))
    , timestamp(new QLabel(QStringLiteral("Timestamp: ")))
{
    setObjectName(QStringLiteral("ValueViewer"));
    resize(ValueViewer::sizeHint());
    setWindowIcon(QIcon(QStringLiteral(":/zelmark.ico")));
    setWindowTitle(QStringLiteral("Form"));
    setToolTip(QStringLiteral(
        "A right click switches between choosing and reading. The first one changes nothing."));
    gridLayout->setObjectName(QStringLiteral("gridLayout"));
    seqNo->setObjectName(QStringLiteral("seqNo"));
    timestamp->setObjectName(QStringLiteral("timestamp"));
    gridLayout->addWidget(seqNo, 0, 0);
    gridLayout->addWidget(timestamp, 0, 1);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(rows);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(area);
}

void ValueViewer::update(
    unsigned int sampleNumber, unsigned int timestampMs, std::vector<int>& values)
{
    setHeading(seqNo, QStringLiteral("SeqNo: %1").arg(sampleNumber));
    setHeading(timestamp, QStringLiteral("Timestamp: %1").arg(timestampMs));
    const int known = static_cast<int>(channelLabels.size());
    for (const QString& name : workbench::channelNames(known, static_cast<int>(values.size()))) {
        addRow(name);
    }
    QRect column;
    for (std::size_t channel = 0; channel < values.size(); ++channel) {
        QLabel* value = channelValues[channel];
        // Painting a hundred labels one by one takes twice as long as painting their column.
        value->setAttribute(Qt::WA_UpdatesDisabled, true);
        setTextInPlace(value, QString::number(values[channel]));
        value->setAttribute(Qt::WA_UpdatesDisabled, false);
        column |= value->geometry();
    }
    rows->update(column);
}

void ValueViewer::addRow(const QString& name)
{
    auto* label = new QLabel(name);
    auto* value = new QLabel(QString::number(std::numeric_limits<int>::min())); // the widest
    value->setMinimumWidth(value->sizeHint().width());
    value->setText(QStringLiteral("0"));
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
}

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
}
