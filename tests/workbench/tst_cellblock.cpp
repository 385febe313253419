// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/cellblock.h"

#include <QTest>

class TestCellBlock : public QObject
{
    Q_OBJECT

private slots:
    void formsOfABlock();
    void reading_data();
    void reading();
    void readsNoMoreThanAsked();
};

void TestCellBlock::formsOfABlock()
{
    const CellBlock cells = {{"1", "2"}, {"-3", "<a&b>"}};
    QCOMPARE(toText(cells), QString("1\t2\t\n-3\t<a&b>\t\n"));
    QCOMPARE(
        toHtml(cells), QString("<!--StartFragment-->\n<table>"
                               "<tr>\n  <td x:num>1</td>\n  <td x:num>2</td>\n</tr>\n"
                               "<tr>\n  <td x:num>-3</td>\n  <td x:num><a&b></td>\n</tr>\n"
                               "</table><!--EndFragment-->\n"));
}

void TestCellBlock::reading_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<CellBlock>("cells");
    QTest::newRow("empty clipboard is one empty field") << QString() << CellBlock{{""}};
    QTest::newRow("copied block has one more of each")
        << "1\t2\t\n3\t4\t\n"
        << CellBlock{{"1", "2", ""}, {"3", "4", ""}, {""}};
    QTest::newRow("carriage returns stay") << "1\t2\r\n3\r" << CellBlock{{"1", "2\r"}, {"3\r"}};
    QTest::newRow("ragged rows and empty fields")
        << "\t\n\na\n\tb" << CellBlock{{"", ""}, {""}, {"a"}, {"", "b"}};
    QTest::newRow("NUL and formula")
        << QString::fromUtf8("a\0b\t=A1", 7) << CellBlock{{QString::fromUtf8("a\0b", 3), "=A1"}};
}

void TestCellBlock::reading()
{
    QFETCH(QString, text);
    QTEST(fromText(text, 1024, 1024), "cells");
}

void TestCellBlock::readsNoMoreThanAsked()
{
    const QString wide(10'000'000, '\t');
    QCOMPARE(fromText(wide + "\n1", 2, 2), CellBlock({{"", ""}, {"1"}}));
    QCOMPARE(fromText("1\t2\n3\t4", 1, 1), CellBlock({{"1"}}));
}

QTEST_GUILESS_MAIN(TestCellBlock)
#include "tst_cellblock.moc"
