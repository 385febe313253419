// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QRect>
#include <QWidget>
#include <memory>
#include <vector>

class CommandsSender;

namespace Ui {
class MapTuning;
}

// The editor of one map. Row 0 of its table holds the X labels, column 0 the Y labels, the rest the
// values; the corner stays empty. Every change of a cell, also one made by loading, goes to the
// controller at once. The table is the only copy of the map on the PC.
class MapTuning : public QWidget
{
    Q_OBJECT

public:
    MapTuning(unsigned int id, CommandsSender* sender, QWidget* parent = nullptr);
    ~MapTuning() override;
    QSize sizeHint() const override { return {400, 300}; } // which a sub-window opens with

    // Sizes the table for xSize columns and ySize rows of values and asks for the map. Sizes above
    // 1,024 are refused with a line on standard output and change nothing.
    void updateMapByParameters(unsigned int xSize, unsigned int ySize);

    // Loads labels and values, in which the X index runs fastest, as far as the table's size goes.
    // A cell that they do not reach is left as it is.
    void mapTuningMap(std::vector<int>&& x, std::vector<int>&& y, std::vector<int>&& values);

public slots:
    void on_mapValues_cellChanged(int row, int column);
    // For a form with a box per cell; the id maps tell which box sent. Nothing connects these.
    void onLabelXChanged(int value);
    void onLabelYChanged(int value);
    void onValueChanged(int value);
    // These work on the bounding rectangle of the selection, the cells between included.
    void mapValues_increaseValues() { stepValues(1U); }
    void mapValues_decreaseValues() { stepValues(~0U); }
    void mapValues_copy();
    void mapValues_paste();

private:
    void setNumber(int row, int column, int value);
    void stepValues(unsigned int step);
    QRect selectedRectangle() const; // x is the column, y the row; empty without a selection

    std::unique_ptr<Ui::MapTuning> ui;
    unsigned int mapId;
    unsigned int xSize = 0;
    unsigned int ySize = 0;
    CommandsSender* commandsSender; // not owned
    QMap<QObject*, int> labelXIds;
    QMap<QObject*, int> labelYIds;
    QMap<QObject*, int> valueXIds;
    QMap<QObject*, int> valueYIds;
};
