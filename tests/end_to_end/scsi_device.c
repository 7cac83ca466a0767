/*
 * Preloaded into a tool of sg3-utils that has no other input than a device: whatever file the tool
 * opens, it answers each data-in command with the bytes of the file that OVK_SCSI_REPLY names.
 */
#include <errno.h>
#include <scsi/sg.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

/* The tool's call, which comes here before it gets to libc. */
int ioctl(int file, unsigned long request, ...);

int ioctl(int file, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  struct sg_io_hdr* const io = va_arg(arguments, struct sg_io_hdr*);
  va_end(arguments);
  (void)file;
  if (request != SG_IO || io->dxfer_direction != SG_DXFER_FROM_DEV) {
    errno = ENOTTY;
    return -1;
  }
  FILE* const reply = fopen(getenv("OVK_SCSI_REPLY"), "rb");
  if (reply == NULL) {
    return -1;
  }
  const size_t length = fread(io->dxferp, 1, io->dxfer_len, reply);
  fclose(reply);
  io->status = 0;
  io->host_status = 0;
  io->driver_status = 0;
  io->sb_len_wr = 0;
  io->resid = (int)(io->dxfer_len - length);
  return 0;
}
