// Every call that brings a record, a text, a number or a list out of an instrument, or one into it,
// with an instrument whose replies have any size and content.
//
// Held to be true:
//
// - the result is the one that the reply gives: 0 for a right one, 10 for one of a wrong size, 8
//   for a refusal whatever error it names, and on a wireless instrument 16 for INVAL;
// - what is written is what the instrument has sent, within the record; on failure of a wired
//   instrument nothing is written;
// - texts end within their fields, bytes that an instrument cannot tell stay as they were;
// - what is sent is what the caller gave;
// - a measurement that nobody has asked for reaches the callback once, and no other is taken for it.
//
// An input is the kind (0 wired, 1 wireless), for a wired instrument the largest packet (a word),
// then calls: a byte that names it and its arguments. The replies stand in between, each where the
// instrument is asked for it: see ReplyPlan. WiredRecords.cpp and WirelessRecords.cpp list the calls.

#include "fuzz/Records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ovk::fuzz::Script script({data, size});
    if (script.byte() % 2 == 0) {
        ovk::fuzz::runWired(script);
    } else {
        ovk::fuzz::runWireless(script);
    }
    return 0;
}
