// The record of sessions that HLX_TRACE makes the library write, and that hlx-simulator replay plays. Text, a line
// each:
//
//     hlx-trace 1
//     TIME LINK open HOST:PORT     a link was opened, or "accepted" one by the register port
//     TIME LINK in HEX             bytes of the device: a message or first block, whole unless the link ended before
//     TIME LINK out HEX            bytes to the device, likewise
//     TIME LINK end                the device closed the link
//     TIME LINK reset              the link broke
//     TIME LINK close              the library closed the link
//
// TIME is in microseconds from the start of the record, LINK counts the links from 1. Passwords, keys, nonces and whole
// configuration bodies, which hold passwords, stand as zero bytes of the same number.
#pragma once

constexpr char TRACE_FIRST_LINE[] = "hlx-trace 1";
constexpr char TRACE_OPEN[] = "open";
constexpr char TRACE_IN[] = "in";
constexpr char TRACE_OUT[] = "out";
constexpr char TRACE_END[] = "end";
constexpr char TRACE_RESET[] = "reset";
constexpr char TRACE_CLOSE[] = "close";
