#pragma once

#include <optional>

#include "operations/Session.h"

/// \file
/// The operations of the exports that talk to an instrument: what each sends and receives, what must
/// come back, and what the instrument holds then.

namespace cqtest {

/// One transfer of a wired operation. Without `sent` the instrument begins; without `received` it
/// does no more than acknowledge.
struct WiredStep {
    std::optional<std::size_t> sent;  ///< bytes of payload
    std::optional<std::size_t> received;
    milliseconds timeout;
};

/// How the reply to a wireless request is judged, which decides what a spoiled one gives.
enum class Check {
    word,     ///< "OK" or failed
    record,   ///< 256 bytes or failed
    number,   ///< refusals told apart, 4 bytes
    read,     ///< refusals told apart, 256 bytes
    done,     ///< refusals told apart, nothing else looked at
    item,     ///< refusals told apart, a byte
    text,     ///< taken as it comes
    block,    ///< refusals told apart, 248 bytes
    written,  ///< "OK", "INVAL", or failed
};

struct WirelessStep {
    Check check;
    milliseconds timeout;
};

struct Operation {
    std::string name;
    std::vector<WiredStep> wired;
    std::vector<WirelessStep> wireless;
    /// Calls the export, checks what it has written, changes the model as if the instrument had done
    /// what it was asked to, and gives the call's result: a code, or a word.
    std::string (*run)(Session&);
    std::string usual = "0";  ///< the result when nothing goes wrong

    /// Instruments of this kind have it. Opening, closing and pressing take no steps of their own.
    bool isFor(Kind kind) const {
        return name == "open" || name == "close" || name == "press" ||
               (name == "scan" ? kind == Kind::wireless
                               : !(kind == Kind::wired ? wired.empty() : wireless.empty()));
    }
};

const std::vector<Operation>& operations();
const Operation& operationNamed(const std::string& name);

}  // namespace cqtest
