// The command table against the protocol's list of (command id, group id)
// pairs, written as the protocol document lists them (ranges and id lists):
// every pair with its handler, nothing more, nothing twice.
#include "RS232Handler.h"

#include <QStringList>
#include <QtTest>

namespace {
struct ProtocolRow { int group; const char* ids; const char* handler; };

const ProtocolRow PROTOCOL[] = {
    { 0, "0x20, 0x21", "fh_set_inclination_direction" }, { 0, "0x22, 0x23", "fh_set_inclination_status" },
    { 0, "0x30 to 0x32, 0x36 to 0x3B, 0x40 to 0x42, 0x50 to 0x52, 0x70 to 0x72", "fh_sys_visibility" },
    { 0, "0x73 to 0x75", "fh_cmd_videocounter" }, { 0, "0x80, 0x81", "fh_overlay_visibility" },
    { 0, "0x24", "fh_init_inclination" }, { 0, "0x88", "fh_clear_screen" }, { 0, "0x90 to 0x9B", "fh_sta_visibility" },
    { 0, "0xA0 to 0xAB", "fh_sta_bgcolor" }, { 0, "0xB8 to 0xBD, 0xCC to 0xCE", "fh_sys_visibility" },
    { 0, "0xD4 to 0xD6", "fh_cmd_3d_measurement" }, { 0, "0xDA to 0xDF, 0xF0 to 0xFE", "fh_sys_visibility" },

    { 1, "0x01", "fh_get_codec" }, { 1, "0x11", "fh_get_device_data" }, { 1, "0x30", "fh_get_metercounter_1" },
    { 1, "0x36", "fh_get_metercounter_2" }, { 1, "0x3B", "fh_get_metercounter_3" },
    { 1, "0x34, 0x39, 0x3D", "fh_get_metercounter_wheel_length" },
    { 1, "0x35, 0x3A, 0x3E", "fh_get_metercounter_resolution" },
    { 1, "0x31, 0x37, 0x3C, 0x41, 0x51, 0x71, 0xC1, 0xC3, 0xC5, 0xC7, 0xF1, 0xF4, 0xF7, 0xF8, 0xFA, 0xFC",
      "fh_get_unit_state" },
    { 1, "0x40, 0x50", "fh_get_date_time" }, { 1, "0x70", "fh_get_videocounter" }, { 1, "0x90", "fh_get_statusline" },
    { 1, "0x92", "fh_get_statusline_state" }, { 1, "0x98", "fh_get_line" }, { 1, "0xB1", "fh_get_adconverter" },
    { 1, "0xC0, 0xC2, 0xC4, 0xC6, 0xF0, 0xF3, 0xF5, 0xF6, 0xF9, 0xFB", "fh_get_device_value" },
    { 1, "0xD4", "fh_get_3d_measurement_data" }, { 1, "0xFE", "fh_get_softwareversion" },
    { 1, "0xFF", "fh_get_softwareid" },

    { 2, "0x01", "fh_set_codec" }, { 2, "0x20", "fh_set_inclination_distance" },
    { 2, "0x30", "fh_set_metercounter_1" }, { 2, "0x36", "fh_set_metercounter_2" },
    { 2, "0x3C", "fh_set_metercounter_3" }, { 2, "0x40, 0x50", "fh_set_date_time" },
    { 2, "0x32, 0x38, 0x3E, 0x42, 0x52, 0x72, 0xC0, 0xC2, 0xC4, 0xC6, 0xF0, 0xF3, 0xF6, 0xF9, 0xFB, 0xFC",
      "fh_set_unit_position" },
    { 2, "0x62", "fh_set_cursor" }, { 2, "0x70", "fh_set_videocounter" }, { 2, "0x90", "fh_set_statusline" },
    { 2, "0x92", "fh_set_line_color" }, { 2, "0x95", "fh_set_text" }, { 2, "0x98", "fh_set_line" },
    { 2, "0x99", "fh_set_statusline_color" }, { 2, "0xD4", "fh_set_3d_measurement_start_position" },
    { 2, "0xD5", "fh_set_3d_measurement_start_orientation" }, { 2, "0xD7", "fh_start_temp_text" },
    { 2, "0xE5", "fh_set_device_color" },
};

QString entry(int command, int group, const char* handler)
{
    return QStringLiteral("%1/%2 %3").arg(command, 2, 16, QChar('0')).arg(group).arg(handler);
}
}

class TestCommandTable : public QObject
{
    Q_OBJECT

private slots:
    void holdsExactlyTheProtocolsEntries()
    {
        QStringList expected, actual;
        for (const ProtocolRow& row : PROTOCOL) {
            for (const QString& part : QString(row.ids).split(", ")) {
                const QStringList bounds = part.split(" to ");
                for (int id = bounds.first().toInt(nullptr, 16); id <= bounds.last().toInt(nullptr, 16); ++id)
                    expected.append(entry(id, row.group, row.handler));
            }
        }
        int rows = 0;
        const RS232Handler::TableRow* table = RS232Handler::command_table(&rows);
        for (int row = 0; row < rows; ++row) {
            for (int id = table[row].first_command_id; id <= table[row].last_command_id; ++id)
                actual.append(entry(id, table[row].group_id, table[row].name));
        }
        expected.sort();
        actual.sort();
        QCOMPARE(expected.size(), 167);
        QCOMPARE(actual, expected);
    }
};

QTEST_GUILESS_MAIN(TestCommandTable)
#include "test_command_table.moc"
