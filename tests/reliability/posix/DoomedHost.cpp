// A host program that repeats one operation until it is killed.
//
// Usage: cqapi-doomed-host PORT upload|download|measure [ADDRESS]
//
// With an address it opens the wireless instrument of that address through the adapter on the port.
// It writes "open" to standard output once its instrument is open, and ends by itself only when
// something fails: with 2 for a wrong command line, 3 when the instrument cannot be opened, and 64
// plus the result code of an operation.

#include <cstdio>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"
#include "reliability/posix/StockRecords.h"

namespace {

constexpr int kUsage = 2;
constexpr int kNotOpened = 3;
constexpr int kOperationFailed = 64;

std::uint32_t runOnce(CqHandle handle, const std::string& operation) {
    CqMeasurementRecord record;
    if (operation == "measure") {
        return cqMeasureStandard(handle, &record);
    }
    if (operation == "download") {
        const auto records = cqtest::addedRecords();
        return cqDownloadStandards(handle, records.data(),
                                   static_cast<std::uint32_t>(records.size()));
    }
    std::vector<CqMeasurementRecord> records(cqtest::stockedRecords().size());
    return cqUploadStandards(handle, records.data(), 0, static_cast<std::uint32_t>(records.size()));
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3 && count != 4) {
        std::fputs("Usage: cqapi-doomed-host PORT upload|download|measure [ADDRESS]\n", stderr);
        return kUsage;
    }
    const CqHandle handle =
        count == 4 ? cqOpenByBleDongle(arguments[1], arguments[3]) : cqOpen(arguments[1]);
    if (handle == nullptr) {
        return kNotOpened;
    }
    std::puts("open");
    std::fflush(stdout);
    std::uint32_t code = CQ_NO_ERROR;
    while (code == CQ_NO_ERROR) {
        code = runOnce(handle, arguments[2]);
    }
    return kOperationFailed + static_cast<int>(code);
}
