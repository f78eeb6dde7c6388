// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantList>

class Simulator;

// /control of "local.talvox.simulator": how tests read and steer the
// simulated sibling services. Its calls are not logged.
class ControlObject : public QObject
{
    Q_OBJECT
public:
    explicit ControlObject(Simulator& simulator, QObject* parent = nullptr);

    QStringList calls();
    void clear_calls();
    void set_locale(const QString& code);
    void set_screen_size(int width, int count);
    void set_value(const QString& name, const QDBusVariant& value);
    void set_reply(const QString& method, const QVariantList& values);
    void clear_replies();
    bool emit_signal(const QString& name, const QVariantList& args);
    void set_service_present(const QString& service, bool present);
    QString screen();
    QString text(int handle, int& column, int& line, int& foreground, int& background, bool& visible, int& format,
                 bool& exists);
    QString text_by_id(int id, int& column, int& line, int& foreground, int& background, bool& visible, int& format,
                       bool& exists);
    QList<int> texts_on_line(int line);
    int created_text_count();
    QString overlay();

    // Signals `changed` once the current bus message is done, however many
    // changes it made.
    void notify_changed();

signals:
    // The simulated state changed: what `overlay` answers may differ.
    void changed();

private:
    Simulator& m_simulator;
    QTimer m_change_pending;
};
