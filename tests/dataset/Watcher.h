#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QObject>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace support
{

/// A watcher that keeps its own rows, only by what it is told.
struct Watcher {
    explicit Watcher(dataset::DataSet &watched)
        : table(watched)
    {
        reset();
        QObject::connect(&table, &dataset::DataSet::rowsReset, &context, [this] { reset(); });
        QObject::connect(&table, &dataset::DataSet::rowsRemoved, &context, [this](int first, int count) {
            ASSERT_LE(first + count, rows.size());
            rows.remove(first, count);
            ++notices;
        });
        QObject::connect(&table, &dataset::DataSet::rowsInserted, &context, [this](int first, int count) {
            ASSERT_LE(first, rows.size());
            for (int row = first; row < first + count; ++row)
                rows.insert(row, text(row));
            ++notices;
        });
        QObject::connect(&table, &dataset::DataSet::rowsChanged, &context, [this](int first, int count) {
            for (int row = first; row < first + count; ++row)
                rows[row] = text(row);
            ++notices;
        });
    }
    void reset()
    {
        rows.clear();
        for (int row = 0; row < table.rowCount(); ++row)
            rows << text(row);
        ++resets;
    }
    QString text(int row) const { return table.textAt(row, 1) + " " + table.textAt(row, 2); }

    dataset::DataSet &table;
    QObject context;
    QStringList rows;
    int resets = 0;
    int notices = 0;
};

} // namespace support
