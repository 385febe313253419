// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <memory>

class QAbstractTableModel;

namespace Ui {
class CandumpWindow;
}

// The window around the table of captured frames. An open one does not keep the program alive.
class CandumpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit CandumpWindow(QAbstractTableModel* model, QWidget* parent = nullptr);
    ~CandumpWindow() override;

private:
    std::unique_ptr<Ui::CandumpWindow> ui;
};
