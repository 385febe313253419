// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/idatapresenter.h"

#include <QWidget>
#include <string>
#include <vector>

class QCheckBox;
class QGridLayout;
class QLabel;

// Lists the latest value of every channel. The first record with n values gives it n rows; rows are
// never taken away. The right button changes between the setup view, with all rows and a check box
// for each, and the reading view, with the checked rows alone.
class ValueViewer : public QWidget, public IDataPresenter
{
    Q_OBJECT

public:
    explicit ValueViewer(QWidget* parent = nullptr);

    using QWidget::update;
    void update(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>& values) override;
    void updateLabels(std::vector<std::string>& /*labels*/) override {}
    void showData(std::vector<bool>& /*shown*/) override {}
    QSize sizeHint() const override { return {400, 300}; } // which a sub-window opens with

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    void addRow(const QString& name);

    QWidget* rows; // scrolls in the window
    QGridLayout* gridLayout;
    QLabel* seqNo;
    QLabel* timestamp;
    std::vector<bool> channelShown;
    std::vector<std::string> channelNames;
    std::vector<QLabel*> channelLabels;
    std::vector<QLabel*> channelValues;
    std::vector<QCheckBox*> channelChecks;
    int panelOpen = 0; // 0 at first although the check boxes are shown
};
