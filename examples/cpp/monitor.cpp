// Shows measurements as they are made with the instrument's own button: monitor [PORT [COUNT]]
#include <condition_variable>
#include <cqapi/CQApi.hpp>
#include <cstdio>
#include <exception>
#include <mutex>
#include <queue>
#include <string>

constexpr std::size_t kSpectrumOffset = 64;  // in the virtual instrument's records

struct Measurement {
    bool isStandard;
    cqapi::MeasurementRecord record;
};

// Filled by the library's thread and emptied by the program's own.
class Mailbox {
  public:
    void put(const Measurement& measurement) {
        const std::lock_guard lock(mutex_);
        measurements_.push(measurement);
        arrived_.notify_one();
    }
    Measurement take() {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return !measurements_.empty(); });
        const Measurement measurement = measurements_.front();
        measurements_.pop();
        return measurement;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::queue<Measurement> measurements_;
};

int main(int argc, char** argv) try {
    Mailbox mailbox;
    cqapi::Instrument instrument = cqapi::Instrument::open(argc > 1 ? argv[1] : "");
    // Runs on a thread of the library: copies the record, and leaves the work to the main thread.
    instrument.setMeasurementHandler(
        [&mailbox](bool isStandard, const cqapi::MeasurementRecord& record) {
            mailbox.put({isStandard, record});
        });
    for (int left = argc > 2 ? std::stoi(argv[2]) : 10; left > 0; --left) {
        const Measurement measurement = mailbox.take();
        const cqapi::Color lab = cqapi::colorFromSpectrum(
            cqapi::spectrumAt(measurement.record, kSpectrumOffset), ColorSpaceLab);
        std::printf("%-8s  L* %6.2f  a* %6.2f  b* %6.2f\n",
                    measurement.isStandard ? "standard" : "trial", lab[0], lab[1], lab[2]);
        std::fflush(stdout);
    }
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "monitor: %s\n", failure.what());
    return 1;
}
