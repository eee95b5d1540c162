// Layout of the dump file that a crash leaves on Linux; scripts/dump_backtrace reads it.
//
// The file is the 8 bytes "SORVDMP1" and then chunks: 4 bytes kind, 4 bytes zero, 8 bytes payload length
// (little-endian), the payload.
//   INFO  text: lines "key value" (signal, code, address, thread, time)
//   THRD  8 bytes thread id, then 23 general registers of 8 bytes in the order of the system's ucontext
//   STCK  8 bytes thread id, 8 bytes start address, then the raw stack from there upwards
//   MAPS  text: the memory map of the process
//   BLDI  text: lines "base path build-id" of every program and library in the map
#pragma once

namespace platform {

constexpr char kDumpMagic[] = "SORVDMP1";
constexpr unsigned kMaxStackBytes = 256 * 1024;  // of one thread
constexpr unsigned kMaxThreads = 256;

}  // namespace platform
