// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <functional>

#include <QStringList>
#include <QVariantList>

// The log of every call received on the sibling interfaces, one line per call
// in the form method(arg, arg, ...), so tests can compare what talvox sent.
class CallLog
{
public:
    void record(const char* method, const QVariantList& args = {});
    QStringList entries() const { return m_entries; }
    void clear() { m_entries.clear(); }
    // Called after every recorded call: every change of the simulated state
    // comes through a call (the monitor is told of it).
    std::function<void()> on_record;

    // int/byte decimal, bool true/false, double in shortest round-trip form,
    // string in double quotes with \ and " escaped.
    static QString format_value(const QVariant& value);

private:
    QStringList m_entries;
};
