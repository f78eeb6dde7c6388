// SPDX-License-Identifier: BSD-2-Clause
// The single-instance lock in a directory of the test's own (the exit codes and messages of a start that does
// not get it: test_startup).
#include "InstanceLock.h"

#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

class TestInstanceLock : public QObject
{
    Q_OBJECT

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }

private slots:
    // The holder's pid is in the file; a second instance on the device does not get it and leaves the file as
    // it is, one on another device does. The file is gone once the lock is released, and the next start gets it.
    void heldUntilReleased()
    {
        QTemporaryDir dir;
        InstanceLock first(dir.path(), "ttyS0");
        QCOMPARE(first.path(), dir.path() + "/tvx-ttyS0.lock");
        QCOMPARE(first.take(), InstanceLock::Outcome::Taken);
        const QByteArray pid = QByteArray::number(qint64(getpid())) + '\n';
        QCOMPARE(contents(first.path()), pid);

        InstanceLock second(dir.path(), "ttyS0");
        QCOMPARE(second.take(), InstanceLock::Outcome::HeldByAnother);
        second.release();
        QCOMPARE(contents(first.path()), pid);
        InstanceLock otherDevice(dir.path(), "ttyS1");
        QCOMPARE(otherDevice.take(), InstanceLock::Outcome::Taken);

        first.release();
        QVERIFY(!QFile::exists(first.path()));
        QCOMPARE(second.take(), InstanceLock::Outcome::Taken);
    }

    // A file nobody holds (its instance died) is taken over; a link planted at the lock's name is never
    // followed, and neither is anything created through it.
    void leftOrPlantedFiles()
    {
        QTemporaryDir dir;
        QFile stale(dir.filePath("tvx-ttyS0.lock"));
        QVERIFY(stale.open(QIODevice::WriteOnly) && stale.write("4711, a long dead pid\n") > 0);
        stale.close();
        InstanceLock lock(dir.path(), "ttyS0");
        QCOMPARE(lock.take(), InstanceLock::Outcome::Taken);
        QCOMPARE(contents(lock.path()), QByteArray::number(qint64(getpid())) + '\n');

        const QString target = dir.filePath("target");
        QVERIFY(QFile::link(target, dir.filePath("tvx-ttyS1.lock")));
        InstanceLock planted(dir.path(), "ttyS1");
        QCOMPARE(planted.take(), InstanceLock::Outcome::NotCreatable);
        QVERIFY(!QFile::exists(target));
    }
};

QTEST_GUILESS_MAIN(TestInstanceLock)
#include "test_instance_lock.moc"
