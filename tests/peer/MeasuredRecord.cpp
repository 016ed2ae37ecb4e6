#include "peer/MeasuredRecord.h"

#include <cstddef>

namespace cqtest {
namespace {

constexpr std::uint32_t kMark = 0x31524D56;  // "VMR1"
constexpr std::size_t kKindAt = 6;
constexpr std::size_t kNumberAt = 8;
constexpr std::size_t kChecksumAt = 252;

std::uint32_t numberAt(const CqMeasurementRecord& record, std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t i = sizeof(number); i-- > 0;) {
        number = number << 8 | record.bytes[offset + i];
    }
    return number;
}

/// CRC-32 of ISO/IEC/IEEE 8802-3, clause 3.2.9.
std::uint32_t checksum(const std::uint8_t* bytes, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
        }
    }
    return ~crc;
}

}  // namespace

bool isMeasuredRecord(const CqMeasurementRecord& record, RecordKind kind, std::uint32_t number) {
    return numberAt(record, 0) == kMark &&
           record.bytes[kKindAt] == static_cast<std::uint8_t>(kind) &&
           runningNumber(record) == number &&
           numberAt(record, kChecksumAt) == checksum(record.bytes, kChecksumAt);
}

std::uint32_t runningNumber(const CqMeasurementRecord& record) {
    return numberAt(record, kNumberAt);
}

}  // namespace cqtest
