#pragma once

#include <iosfwd>

#include "commands/Program.h"
#include "system/Files.h"
#include "system/Interrupt.h"

namespace cqtool {

/// The environment of every command.
struct Environment {
    std::ostream& out;    ///< results
    std::ostream& notes;  ///< remarks that are not results
    Interrupt& interrupt;

    /// For the words about a file that is written: not among its bytes on standard output.
    std::ostream& besides(const std::string& file) const {
        return isStandardOutput(file) ? notes : out;
    }
};

// Each adds a command to the program.
void addDemo(Program& program, const Environment& environment);
void addInfo(Program& program, const Environment& environment);
void addStatus(Program& program, const Environment& environment);
void addCalibrate(Program& program, const Environment& environment);
void addMeasure(Program& program, const Environment& environment);
void addMonitor(Program& program, const Environment& environment);
void addScan(Program& program, const Environment& environment);
void addList(Program& program, const Environment& environment);
void addJob(Program& program, const Environment& environment);
void addStandards(Program& program, const Environment& environment);
void addSamples(Program& program, const Environment& environment);
void addBackup(Program& program, const Environment& environment);
void addRestore(Program& program, const Environment& environment);
void addWhiteBoard(Program& program, const Environment& environment);
void addParameter(Program& program, const Environment& environment);
void addColor(Program& program, const Environment& environment);
void addDifference(Program& program, const Environment& environment);
void addReport(Program& program, const Environment& environment);
void addLog(Program& program, const Environment& environment);
void addDoctor(Program& program, const Environment& environment);
void addManual(Program& program, const Environment& environment);
void addCompletion(Program& program, const Environment& environment);

}  // namespace cqtool
