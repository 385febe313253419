// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "chart/axistag.h"
#include "formats/logfile.h"
#include "ui_dataloggerapp.h"

#include <QHash>
#include <QKeyEvent>
#include <QSlider>

namespace {

// Null for a key that is no tag.
QString tagOfKey(const QKeyEvent& event)
{
    // The drivers' vocabulary. The scale of the function keys has no "Hard" on purpose.
    static const QHash<int, QString> tags = {
        {Qt::Key_S, "Engine stall"}, {Qt::Key_L, "Lost drive"},  {Qt::Key_H, "Hard shift"},
        {Qt::Key_P, "Prefill"},      {Qt::Key_T, "Clutch slip"}, {Qt::Key_W, "Wheel lock"},
        {Qt::Key_K, "Diff knock"},   {Qt::Key_X, "Disregard"},   {Qt::Key_F1, "Very Light"},
        {Qt::Key_F2, "Light"},       {Qt::Key_F3, "Medium"},     {Qt::Key_F4, "Very Hard"},
        {Qt::Key_Up, "High"},        {Qt::Key_Down, "Low"},
    };
    const int key = event.key();
    if (key >= Qt::Key_0 && key <= Qt::Key_9) {
        // With a modifier the text may be a control character, as Ctrl+2 gives a zero byte.
        const QString text = event.text();
        return text.size() == 1 && text[0].isDigit() ? text : QString(QChar('0' + key - Qt::Key_0));
    }
    return tags.value(key);
}

} // namespace

void DataLoggerApp::createVirtualInputs()
{
    int number = 1; // the operator counts from 1; the controller, its texts and tags from 0
    for (QSlider*& slider : virtualInputSliders) {
        slider = new QSlider(Qt::Vertical);
        slider->setRange(0, 1024);
        slider->setToolTip(
            QStringLiteral("Sets virtual input %1 of the controller. Each step also makes a tag.")
                .arg(number - 1));
        auto* label = new QLabel(QString::number(number++));
        label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
        auto* column = new QVBoxLayout;
        column->addWidget(slider);
        column->addWidget(label);
        ui->virtualInputLayout->addLayout(column);
        // Not sliderMoved: keys and wheel count as well.
        connect(slider, SIGNAL(valueChanged(int)), this, SLOT(on_virtualInput_sliderMoved(int)));
    }
}

void DataLoggerApp::on_virtualInput_sliderMoved(int position)
{
    const QObject* moved = sender();
    for (int index = 0; index < VirtualInputTotal; ++index) {
        if (moved == virtualInputSliders[index]) {
            commandsSender.sendVirtualInputValue(index, position);
            emit addLog(QStringLiteral("Set VI %1 to %2").arg(index).arg(position));
            addTag(QStringLiteral("VI%1=%2").arg(index).arg(position));
        }
    }
}

// Keys end here, tag or not: the base class is left out on purpose. Auto-repeat makes tags as well,
// and modifiers make no difference.
void DataLoggerApp::keyPressEvent(QKeyEvent* event)
{
    const QString tag = tagOfKey(*event);
    if (!tag.isNull()) {
        addTag(tag);
    }
}

void DataLoggerApp::addTag(QString text)
{
    auto* tag = new AxisTag(plot->xAxis);
    tag->setText(text);
    // Double precision, unlike the x of a record: from 4.66 hours on a tag may lie beside its
    // record by a fraction of a pixel.
    tag->updatePosition(static_cast<int>(elapsed()) / 1000.0);
    tags[lastTimestamp] = tag;
    requestReplot();
    if (logFile.isOpen() && tagsToLog) {
        logFile.write(formats::logTagLine(lastTimestamp, text));
        logFile.flush();
    }
}
