// SPDX-License-Identifier: MIT
#include "app/advice.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "app/codec_advice.h"
#include "app/seconds_text.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace app {
namespace {

// The encoder's AAC ends here.
constexpr int kHighestSampleRate = 96000;

std::string MegabytesText(int64_t bytes) {
  constexpr int64_t kMegabyte = int64_t{1} << 20;
  return std::to_string((bytes + kMegabyte - 1) / kMegabyte) + " MB";
}

using codec::FailedStep;

// The numbers that the host has for a file that cannot be opened. Others come from inside of the
// file: demuxers have EINVAL and EPERM for files that they do not understand.
constexpr std::array kOpenErrors = {ENOTDIR, ELOOP, ENAMETOOLONG, EIO,   EMFILE,
                                    ENFILE,  ENXIO, EOVERFLOW,    ENOMEM};

// The host's number of the error; FFmpeg's own numbers stay negative.
int Number(const Failure& f) { return -f.cause.error; }

bool IsAt(const Failure& f, FailedStep step, int number) {
  return f.cause.step == step && Number(f) == number;
}

bool CannotOpen(const Failure& f) {
  return f.cause.step == FailedStep::kOpenInput &&
         std::find(kOpenErrors.begin(), kOpenErrors.end(), Number(f)) != kOpenErrors.end();
}

bool IsRefusedByContainer(const Failure& f) {
  // Some muxers refuse with -1, which has the number of EPERM.
  return IsAt(f, FailedStep::kWriteOutput, EINVAL) || IsAt(f, FailedStep::kWriteOutput, EPERM);
}

struct ErrorRow {
  int error;
  const char* text;  // follows the name of the output
};

constexpr std::array kErrorRows = {
    ErrorRow{ENOENT, " lies in a folder that does not exist; make the folder or choose another"},
    ErrorRow{ENOTDIR, " lies in what is no folder; choose another"},
    ErrorRow{EISDIR, " is a folder; name a file in it"},
    ErrorRow{EACCES, " may not be written; choose a folder that you may write to"},
    ErrorRow{EPERM, " may not be written; choose a folder that you may write to"},
    ErrorRow{EROFS, " lies on a disk that is read-only; choose a folder on another"},
    ErrorRow{ENOSPC, " did not fit on its disk, which is full; free some room or use another disk"},
    ErrorRow{EDQUOT, " did not fit into your quota; free some room or use another disk"},
    ErrorRow{EFBIG, " outgrew the largest file allowed; raise \"ulimit -f\" or use another disk"},
    ErrorRow{EPIPE, " lost the program that read it; write to a file instead"},
    ErrorRow{EAGAIN,
             " needs a thread that the host did not give; end other programs and try again"},
};

// What follows the name of the output for an error of the host; null for any other.
const char* HostText(const Failure& f) {
  for (const ErrorRow& row : kErrorRows) {
    if (row.error == Number(f)) return row.text;
  }
  return nullptr;
}

bool IsRefusedByEncoder(const Failure& f) {
  return f.cause.step == FailedStep::kOpenOutput && HostText(f) == nullptr;
}

std::string RangeText(const Failure& f) {
  return "from " + SecondsText(f.start) + " to " + SecondsText(f.end);
}

// What other programs read or write that is no file: an address, or "-" for a standard stream.
bool IsNoFileName(const std::string& name) {
  return name == "-" || name.find("://") != std::string::npos;
}

bool HasNoExtension(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || name.find('/', dot) != std::string::npos;
}

const OptionNames& Names(const Failure& f) { return *f.order.names; }

std::string RangeNames(const Failure& f) {
  return std::string(Names(f).start) + " and " + Names(f).end;
}

struct Row {
  bool (*applies)(const Failure&);
  std::string (*text)(const Failure&);
};

// The first row that applies counts: what stands against the input, then what stands against this
// input's pictures and sound, then the output.
const std::array kRows = {
    Row{[](const Failure& f) { return f.order.input.empty(); },
        [](const Failure&) -> std::string { return "no input is named; name it with -i FILE"; }},
    Row{[](const Failure& f) {
          return IsAt(f, FailedStep::kOpenInput, ENOENT) && IsNoFileName(f.order.input);
        },
        [](const Failure& f) {
          return f.order.input + " is no file; save what it leads to, and name that file " +
                 Names(f).asInput;
        }},
    Row{[](const Failure& f) { return IsAt(f, FailedStep::kOpenInput, ENOENT); },
        [](const Failure& f) {
          return f.order.input + " does not exist; check " + Names(f).inputName;
        }},
    Row{[](const Failure& f) { return IsAt(f, FailedStep::kOpenInput, EACCES); },
        [](const Failure& f) {
          return f.order.input + " may not be read; allow it with chmod +r, or ask its owner";
        }},
    Row{[](const Failure& f) { return CannotOpen(f); },
        [](const Failure& f) {
          return f.order.input + " cannot be opened (" + std::strerror(Number(f)) + "); check " +
                 Names(f).inputName;
        }},
    Row{[](const Failure& f) { return IsAt(f, FailedStep::kOpenInput, ESPIPE); },
        [](const Failure& f) {
          return f.order.input + " cannot be reversed: it is " + f.cause.kind +
                 ", which cannot be read backwards; use a media file";
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kSameFile; },
        [](const Failure& f) {
          return f.order.output + " is the input itself; choose " + Names(f).otherOutput;
        }},
    Row{[](const Failure& f) { return f.memoryNeeded > 0; },
        [](const Failure& f) {
          return f.order.input + " needs " + MegabytesText(f.memoryNeeded) +
                 " of memory, more than the " + MegabytesText(f.memoryGranted) +
                 " that it may have; allow more with " +
                 (f.order.memory == f.memoryGranted ? Names(f).memory : "the container's limit") +
                 ", or make its pictures smaller first";
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kCopy && f.cause.error == 0; },
        [](const Failure& f) {
          const bool hasOthers = f.cause.obstacle.find("; ") != std::string::npos;
          return f.order.input + " cannot be copied: " + f.cause.obstacle +
                 (hasOthers ? ", or leave " : "; leave ") + Names(f).copy +
                 " out, which encodes its pictures anew";
        }},
    Row{[](const Failure& f) { return !f.cause.obstacle.empty(); },
        [](const Failure& f) {
          return f.order.input + " cannot be reversed: " + f.cause.obstacle +
                 (f.order.isPlain ? std::string(", or try without ") + Names(f).plain : "");
        }},
    Row{[](const Failure& f) { return IsAt(f, FailedStep::kHost, ENOMEM); },
        [](const Failure& f) {
          return f.order.input +
                 " needs more memory than there is; end other programs, or try a smaller " +
                 Names(f).memory;
        }},
    Row{[](const Failure& f) { return f.info.has_video == 0 && f.info.has_audio == 0; },
        [](const Failure& f) {
          return f.order.input +
                 " is no media file, or is cut off; use a whole video that other players open";
        }},
    Row{[](const Failure& f) { return f.info.has_video == 0; },
        [](const Failure& f) {
          return f.order.input + " has sound only; use a clip that has video";
        }},
    Row{[](const Failure& f) { return !(f.info.duration > 0); },
        [](const Failure& f) {
          return f.order.input + " does not tell its length; put it into .mkv or .mp4 first";
        }},
    // The length is a float: 2.4 of it is more than 2.4 of a double.
    Row{[](const Failure& f) { return !(static_cast<float>(f.order.start) < f.info.duration); },
        [](const Failure& f) {
          return f.order.input + " ends before the range starts; use " + Names(f).start +
                 " below " + SecondsText(f.info.duration);
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kCheckRange; },
        [](const Failure& f) {
          return f.order.input + " cannot be reversed " + RangeText(f) +
                 ", which is an empty range; use " + Names(f).end + " above " +
                 SecondsText(f.start);
        }},
    Row{[](const Failure& f) { return f.order.output.empty(); },
        [](const Failure&) -> std::string {
          return "no output is named; name it with -o FILE, as in -o reversed.mp4";
        }},
    Row{[](const Failure& f) { return Number(f) == EEXIST; },
        [](const Failure& f) {
          return f.order.output + " was made by another program during the run; choose " +
                 Names(f).otherOutput;
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kCancel; },
        [](const Failure& f) { return f.order.output + " was not made: the job was cancelled"; }},
    Row{[](const Failure& f) {
          return IsRefusedByEncoder(f) && (f.info.width % 2 != 0 || f.info.height % 2 != 0);
        },
        [](const Failure& f) {
          return f.order.input + " has pictures of " + std::to_string(f.info.width) + "x" +
                 std::to_string(f.info.height) +
                 ", which H.264 cannot hold; crop it to an even width and height first";
        }},
    Row{[](const Failure& f) {
          return IsRefusedByEncoder(f) && f.info.has_audio != 0 && !f.order.hasNoSound &&
                 f.info.sample_rate > kHighestSampleRate;
        },
        [](const Failure& f) {
          return f.order.input + " has sound of " + std::to_string(f.info.sample_rate) +
                 " Hz, which AAC cannot hold; convert it to 48000 Hz first";
        }},
    Row{[](const Failure& f) {
          return f.notTaken != nullptr && IsRefusedByContainer(f) && HasNoExtension(f.order.output);
        },
        [](const Failure& f) { return ExtensionAdvice(f.order); }},
    Row{[](const Failure& f) { return f.notTaken != nullptr && IsRefusedByContainer(f); },
        [](const Failure& f) { return ContainerAdvice(f.order, f.notTaken); }},
    Row{[](const Failure& f) { return f.cause.kind != nullptr && IsRefusedByContainer(f); },
        [](const Failure& f) {
          return f.order.output + " is " + f.cause.kind +
                 ", and this container is written back and forth; use .mkv or .ts for it, or write "
                 "to a file";
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kReadInput; },
        [](const Failure& f) {
          return f.order.input + " gave no picture " + RangeText(f) +
                 "; its pictures may end before, or be damaged there; try another range with " +
                 RangeNames(f);
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kLoss; },
        [](const Failure& f) {
          return f.order.input + " cannot be reversed without a loss; leave " + Names(f).strict +
                 " out to reverse what is left";
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kReadRange; },
        [](const Failure& f) {
          return f.order.input + " has no picture that begins in the range " + RangeText(f) +
                 "; make it longer with " + RangeNames(f);
        }},
    Row{[](const Failure& f) { return f.cause.step == FailedStep::kReadFirst; },
        [](const Failure& f) {
          return f.order.input +
                 " has no picture there but the one that the range begins with, which is left out; "
                 "begin a little earlier with " +
                 Names(f).start;
        }},
};

}  // namespace

Failure FailureOf(const Order& order, const codec::Reverse& job) {
  Failure failure;
  failure.order = order;
  failure.cause = job.Failure();
  failure.info = job.InputInfo();
  failure.start = std::max(order.start, 0.0);
  failure.end = failure.start + job.RangeSeconds();
  failure.memoryNeeded = job.MemoryNeeded();
  failure.memoryGranted = job.MemoryGranted();
  failure.notTaken = NotTaken(order);
  return failure;
}

std::string Advice(const Failure& failure) {
  for (const Row& row : kRows) {
    if (row.applies(failure)) return row.text(failure);
  }
  if (const char* const text = HostText(failure)) return failure.order.output + text;
  return failure.order.output + " could not be made; " + Names(failure).more;
}

}  // namespace app
