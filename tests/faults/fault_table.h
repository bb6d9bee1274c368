// SPDX-License-Identifier: MIT
// The calls out of our code that can fail and whose failure it can see, one to a line: name, number
// of arguments, what a failing call gives. The build makes a linker option of every name.
//
// Left out are calls that only look at what is already there, and those without a result. For the
// faults of files (missing, damaged, too large for the disk) the tests have real ones. A call that
// gives -1 leaves the error in errno.
#pragma once

#include <png.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "codec/ffmpeg/ffmpeg_headers.h"

// clang-format off
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100)  // FFmpeg 5.1
#define FAULT_TABLE_OF_LAYOUTS(CALL) CALL(av_channel_layout_copy, 2, AVERROR(ENOMEM))
#define FAULT_TABLE_OF_CONVERTERS(CALL) \
  CALL(av_channel_layout_from_mask, 2, AVERROR(EINVAL)) \
  CALL(swr_alloc_set_opts2, 9, AVERROR(ENOMEM))
#else
#define FAULT_TABLE_OF_LAYOUTS(CALL)
#define FAULT_TABLE_OF_CONVERTERS(CALL) CALL(swr_alloc_set_opts, 9, nullptr)
#endif

#if LIBAVCODEC_VERSION_MAJOR >= 61  // FFmpeg 7.0
#define FAULT_TABLE_OF_SIDE_DATA(CALL) CALL(av_packet_side_data_new, 5, nullptr)
#else
#define FAULT_TABLE_OF_SIDE_DATA(CALL) CALL(av_stream_new_side_data, 3, nullptr)
#endif

#define FAULT_TABLE(CALL) \
  CALL(av_buffer_create, 5, nullptr) \
  CALL(av_dict_set, 4, AVERROR(ENOMEM)) \
  CALL(av_find_best_stream, 6, AVERROR_STREAM_NOT_FOUND) \
  CALL(av_frame_alloc, 0, nullptr) \
  CALL(av_frame_clone, 1, nullptr) \
  CALL(av_frame_get_buffer, 2, AVERROR(ENOMEM)) \
  CALL(av_frame_ref, 2, AVERROR(ENOMEM)) \
  CALL(av_image_fill_arrays, 7, AVERROR(EINVAL)) \
  CALL(av_image_get_buffer_size, 4, AVERROR(EINVAL)) \
  CALL(av_interleaved_write_frame, 2, AVERROR(ENOMEM)) \
  CALL(av_opt_set, 4, AVERROR(ENOMEM)) \
  CALL(av_packet_alloc, 0, nullptr) \
  CALL(av_packet_clone, 1, nullptr) \
  CALL(av_read_frame, 2, AVERROR(ENOMEM)) \
  CALL(av_samples_get_buffer_size, 5, AVERROR(EINVAL)) \
  CALL(av_seek_frame, 4, AVERROR(EIO)) \
  CALL(av_write_trailer, 1, AVERROR(ENOMEM)) \
  CALL(avcodec_alloc_context3, 1, nullptr) \
  CALL(avcodec_fill_audio_frame, 6, AVERROR(EINVAL)) \
  CALL(avcodec_find_decoder, 1, nullptr) \
  CALL(avcodec_find_encoder_by_name, 1, nullptr) \
  CALL(avcodec_open2, 3, AVERROR(ENOMEM)) \
  CALL(avcodec_parameters_from_context, 2, AVERROR(ENOMEM)) \
  CALL(avcodec_parameters_to_context, 2, AVERROR(ENOMEM)) \
  CALL(avcodec_receive_frame, 2, AVERROR(ENOMEM)) \
  CALL(avcodec_receive_packet, 2, AVERROR(ENOMEM)) \
  CALL(avcodec_send_frame, 2, AVERROR(ENOMEM)) \
  CALL(avcodec_send_packet, 2, AVERROR(ENOMEM)) \
  CALL(avformat_alloc_output_context2, 4, AVERROR(ENOMEM)) \
  CALL(avformat_find_stream_info, 2, AVERROR(ENOMEM)) \
  CALL(avformat_new_stream, 2, nullptr) \
  CALL(avformat_open_input, 4, AVERROR(ENOMEM)) \
  CALL(avformat_seek_file, 6, AVERROR(EIO)) \
  CALL(avformat_write_header, 2, AVERROR(ENOMEM)) \
  CALL(avio_open, 3, AVERROR(ENOMEM)) \
  CALL(swr_convert, 5, AVERROR(ENOMEM)) \
  CALL(swr_init, 1, AVERROR(ENOMEM)) \
  CALL(sws_getContext, 10, nullptr) \
  CALL(sws_scale, 7, AVERROR(ENOMEM)) \
  CALL(png_create_read_struct, 4, nullptr) \
  CALL(png_create_info_struct, 1, nullptr) \
  CALL(calloc, 2, nullptr) \
  CALL(malloc, 1, nullptr) \
  CALL(mmap, 6, MAP_FAILED) \
  CALL(fopen, 2, nullptr) \
  CALL(pthread_create, 4, EAGAIN) \
  CALL(avio_closep, 1, AVERROR(ENOSPC)) \
  CALL(fchmod, 2, -1) \
  CALL(fchown, 3, -1) \
  CALL(fremovexattr, 2, -1) \
  CALL(fsetxattr, 5, -1) \
  CALL(fsync, 1, -1) \
  CALL(linkat, 5, -1) \
  CALL(renameat, 4, -1) \
  FAULT_TABLE_OF_LAYOUTS(CALL) \
  FAULT_TABLE_OF_CONVERTERS(CALL) \
  FAULT_TABLE_OF_SIDE_DATA(CALL)
// clang-format on
