// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/calibrationmaps.h"
#include "simulator/cantraffic.h"
#include "simulator/configurationstore.h"
#include "simulator/datalogger.h"
#include "simulator/virtualinputs.h"
#include "simulator/waveforms.h"

#include <QSet>
#include <QtTest>
#include <algorithm>

// What the virtual vehicle shows: channels, names, traffic, maps.
class TestVehicle : public QObject
{
    Q_OBJECT

private slots:
    void waveformsAreLivelyAndWithinTheirRange_data();
    void waveformsAreLivelyAndWithinTheirRange();
    void theSeedAloneDecides();
    void aControllerWithFewChannelsGivesFewValues();
    void blocksNameTheChannels();
    void namesCanBeFew();
    void trafficIsMixedAndCounts();
    void mapsRefuseWhatIsOutsideTheirLimits();
};

void TestVehicle::waveformsAreLivelyAndWithinTheirRange_data()
{
    QTest::addColumn<quint32>("start");
    QTest::newRow("power-up") << 0U;
    QTest::newRow("clock wraps at 32 bits") << 0xFFFFF000U;
}

void TestVehicle::waveformsAreLivelyAndWithinTheirRange()
{
    QFETCH(quint32, start);
    const Waveforms waveforms(1);
    for (unsigned int channel = 0; channel < logChannelCount; ++channel) {
        const LogChannel& range = logChannels()[channel];
        QSet<int> seen;
        for (quint32 time = 0; time < 100000; time += 7) {
            const int value = waveforms.value(channel, start + time);
            QVERIFY2(
                value >= range.low && value <= range.high, qPrintable(QString::number(channel)));
            seen.insert(value);
        }
        QVERIFY2(seen.size() > 1, range.name.c_str());
    }
}

void TestVehicle::theSeedAloneDecides()
{
    const auto record = [](quint32 seed) {
        const VirtualInputs inputs;
        Datalogger logger(128, seed, inputs);
        xcu::DataloggerStart all;
        for (unsigned int i = 0; i < 128; ++i) {
            all.add_channels(i);
        }
        logger.start(all);
        xcu::DataloggerDataResp response;
        logger.nextRecord(123456, response);
        return response.SerializeAsString() + CanTraffic(7, seed).next(0).SerializeAsString();
    };
    QCOMPARE(record(1), record(1));
    QVERIFY(record(1) != record(2));
}

void TestVehicle::aControllerWithFewChannelsGivesFewValues()
{
    const VirtualInputs inputs;
    Datalogger logger(2, 1, inputs);
    xcu::DataloggerStart request;
    for (const unsigned int channel : {1U, 2U, 4294967295U, 0U, 1U}) {
        request.add_channels(channel);
    }
    logger.start(request);
    xcu::DataloggerDataResp record;
    logger.nextRecord(10, record);
    QCOMPARE(record.values_size(), 3);
    QCOMPARE(record.values(0), logger.value(1, 10));
    QCOMPARE(record.values(1), logger.value(0, 10));
    QCOMPARE(record.values(2), logger.value(1, 10));
}

void TestVehicle::blocksNameTheChannels()
{
    const ConfigurationStore store(128);
    QSet<int> named;
    int unlogged = 0;
    int nameless = 0;
    const auto take = [&](const auto& entries) {
        for (const auto& entry : entries) {
            unlogged += entry.logchannel() == -1 ? 1 : 0;
            nameless += entry.name().empty() ? 1 : 0;
            named.insert(entry.logchannel());
        }
    };
    for (const unsigned int id : {0U, 6U}) {
        const std::string block = store.block(id);
        const quint32 length = qFromLittleEndian<quint32>(block.data());
        QCOMPARE(static_cast<std::size_t>(length), block.size() - 4);
        xcu::ConfigData configuration;
        QVERIFY(configuration.ParseFromString(block.substr(4)));
        take(configuration.inputs());
        take(configuration.outputs());
        if (id == 0) {
            QCOMPARE(configuration.inputs(1).name(), std::string("Oil pressure"));
            QCOMPARE(configuration.inputs(1).logchannel(), 0);
        }
    }
    QCOMPARE(named.size(), 129); // every channel, and -1
    QCOMPARE(unlogged, 2);
    QVERIFY(nameless > 0);
    QCOMPARE(store.block(1), std::string("\xFF\xFF\xFF\xFF"));
}

void TestVehicle::namesCanBeFew()
{
    const ConfigurationStore store(1);
    xcu::ConfigData configuration;
    QVERIFY(configuration.ParseFromString(store.block(0).substr(4)));
    QCOMPARE(configuration.inputs_size(), 2);
    QCOMPARE(store.block(6), std::string(4, '\0')); // present, with nothing in it
}

void TestVehicle::trafficIsMixedAndCounts()
{
    constexpr int identifiers = 36;
    CanTraffic traffic(identifiers, 3);
    QSet<QString> kinds;
    QSet<int> buses;
    QSet<int> ids;
    QSet<int> lengths;
    for (int i = 0; i < identifiers; ++i) {
        const xcu::CandumpFrame frame = traffic.next(1000);
        const int length = static_cast<int>(frame.data().size());
        QVERIFY(frame.id() >= 0 && frame.id() < (frame.extended() ? 1 << 29 : 1 << 11));
        QVERIFY(length <= (frame.fd() ? 64 : 8));
        QCOMPARE(frame.timestamp(), 1000);
        kinds.insert(
            QStringLiteral("%1%2%3").arg(frame.extended()).arg(frame.fd()).arg(frame.brs()));
        buses.insert(frame.bus());
        ids.insert(frame.id());
        lengths.insert(length);
    }
    QCOMPARE(kinds, QSet<QString>({"000", "100", "011", "110"}));
    QCOMPARE(buses.size(), CanTraffic::busCount);
    QCOMPARE(ids.size(), identifiers);
    QVERIFY(
        lengths.contains(0) && lengths.contains(8) &&
        *std::max_element(lengths.begin(), lengths.end()) > 8);
    QCOMPARE(traffic.next(2000).data()[0], '\1'); // the second frame of the first identifier
}

void TestVehicle::mapsRefuseWhatIsOutsideTheirLimits()
{
    CalibrationMaps maps({{2, 2}}, 1);
    maps.setLimits(-5, 5);
    xcu::MapTunerSetMapValueReq request;
    xcu::MapTunerSetMapValueResp response;
    for (const int value : {5, 6, -6}) {
        request.set_value(value);
        maps.answer(request, response);
        QCOMPARE(
            response.result(), value == 5 ? CalibrationMaps::ok : CalibrationMaps::refusedValue);
    }
    QCOMPARE(maps.map(0)->values[0], 5);
    QCOMPARE(maps.map(1), nullptr);
}

QTEST_GUILESS_MAIN(TestVehicle)
#include "tst_vehicle.moc"
