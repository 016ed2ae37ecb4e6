#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cqapi/CQApi.h"

/// \file
/// The records of the public header as used inside the library. Several are exactly the bytes that
/// an instrument sends, so their layout is checked here.

namespace ovk::cq {

/// The kind of a measurement.
enum class RECORD_TYPE : std::uint32_t { standard = 0, trial = 1 };

/// Records in index order.
using MeasurementRecords = std::vector<CqMeasurementRecord>;

static_assert(offsetof(CqDeviceInfo, infoText11) == 16);
static_assert(offsetof(CqDeviceInfo, infoText4) == 32);
static_assert(offsetof(CqDeviceInfo, infoText7) == 48);
static_assert(offsetof(CqDeviceInfo, infoText6) == 80);
static_assert(offsetof(CqDeviceInfo, infoText12) == 96);
static_assert(offsetof(CqDeviceInfo, trailingValue) == 128);
static_assert(sizeof(CqDeviceInfo) == 136);

static_assert(offsetof(CqInstrumentStatus, item17) == 3);
static_assert(offsetof(CqInstrumentStatus, item15) == 5);
static_assert(offsetof(CqInstrumentStatus, item14) == 6);
static_assert(offsetof(CqInstrumentStatus, item18) == 7);
static_assert(offsetof(CqInstrumentStatus, item20) == 8);
static_assert(offsetof(CqInstrumentStatus, item19) == 9);
static_assert(offsetof(CqInstrumentStatus, totalStandards) == 10);
static_assert(offsetof(CqInstrumentStatus, item0) == 14);
static_assert(sizeof(CqInstrumentStatus) == 20);

static_assert(sizeof(CqMeasurementRecord) == 256);
static_assert(offsetof(CqBleSlave, address) == 16);
static_assert(offsetof(CqBleSlave, rssi) == 32);
static_assert(sizeof(CqBleSlave) == 36);

static_assert(offsetof(CqWhiteBoardParameter, firstBlock) == 32);
static_assert(offsetof(CqWhiteBoardParameter, secondBlock) == 156);
static_assert(sizeof(CqWhiteBoardParameter) == 280);

}  // namespace ovk::cq
