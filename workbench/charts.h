// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>

// Qt 5 has its charts in this namespace, Qt 6 in none.
namespace QtCharts {}
using namespace QtCharts;
