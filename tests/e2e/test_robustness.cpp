// SPDX-License-Identifier: BSD-2-Clause
// Whatever arrives on the line, the service stays up, its memory stays put,
// and once the noise stops a valid query is answered byte for byte.
#include "TestRig.h"

#include <QRandomGenerator>
#include <QtTest>

// AddressSanitizer keeps freed memory in quarantine: resident memory says
// nothing there, and its leak check at exit covers what this would catch.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TALVOX_ASAN 1
#endif
#endif

class TestRobustness : public QObject
{
    Q_OBJECT

    TestRig m_rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig, RigOptions { QString(), { "-l", "5" } }); }

    void survivesNoiseWithoutGrowing()
    {
        QRandomGenerator random(20261122);
        // Noise with frames mixed in, as a loose connector or a confused PC delivers it: bytes that start no frame,
        // then mostly valid frames (a query, an unknown command), now and then a frame start followed by noise
        // (a random frame, almost always refused, which costs the rest of its read). Written in slices with the
        // answers drained as a PC would, so neither side of the pty fills up; then the barrier.
        const auto storm = [&](int size) {
            QByteArray bytes;
            while (bytes.size() < size) {
                const bool randomFrame = random.bounded(64) == 0;
                if (randomFrame)
                    bytes.append('\x02');
                for (int i = int(random.bounded(randomFrame ? 700 : 40)); i > 0; --i)
                    bytes.append(char(random.bounded(3, 256)));
                if (!randomFrame)
                    bytes.append(random.bounded(2) ? TestRig::frame(0x01, 1) : TestRig::frame(0x05, 0));
            }
            for (int offset = 0; offset < bytes.size(); offset += 2048) {
                m_rig.write(bytes.mid(offset, 2048));
                m_rig.readAvailable();
            }
            // Zeros end any frame left open: they fill its data (at most 510 bytes), the
            // first where 0x03 is due is refused, and they are ignored while idle.
            m_rig.write(QByteArray(600, '\0'));
            // Typed noise costs bus calls per character: on a slow board (or an emulated one) the
            // backlog takes seconds. The barrier's answer is what counts; the bound only catches a hang.
            return m_rig.sync(nullptr, 60000);
        };
        // Locale codec: printable noise is typed on the character screen.
        QVERIFY(m_rig.send(0x01, 2, QByteArray(1, 0)));
        QVERIFY2(storm(3000), qPrintable(m_rig.lastError()));
        QVERIFY(m_rig.send(0x88, 0));

        // UTF-8: typed characters are ignored, so the noise exercises receiver and dispatch at full speed.
        QVERIFY(m_rig.send(0x01, 2, QByteArray(1, 1)));
        QVERIFY2(storm(20000), qPrintable(m_rig.lastError()));
        const qint64 before = m_rig.serviceProcValue("status", "VmRSS:"); // resident memory in KiB
        QVERIFY(before > 0);
        QVERIFY2(storm(60000), qPrintable(m_rig.lastError()));
        const qint64 after = m_rig.serviceProcValue("status", "VmRSS:");
        qInfo("resident memory: %lld KiB after warm-up, %lld KiB after 60000 more bytes", before, after);
#if !defined(TALVOX_ASAN) && !defined(__SANITIZE_ADDRESS__)
        QVERIFY2(after - before < 1024, qPrintable(QString("+%1 KiB").arg(after - before)));
#endif

        // Random frames may have changed the selector: set it and read it back.
        QVERIFY(m_rig.send(0x01, 2, QByteArray(1, 1)));
        QCOMPARE(m_rig.query(0x01, 1).toHex(), QByteArray("01"));
    }
};

QTEST_GUILESS_MAIN(TestRobustness)
#include "test_robustness.moc"
