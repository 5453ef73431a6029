/* Stand-in: the logger's life cycle.  The real library must have it set up
 * before anything logs; the stand-in logs nothing, so these only answer 0. */
#ifndef VORN_STANDIN_LIBXORP_XLOG_H
#define VORN_STANDIN_LIBXORP_XLOG_H

#ifdef __cplusplus
extern "C" {
#endif

int xlog_init(const char* argv0, const char* preamble_message);
int xlog_start(void);
int xlog_stop(void);
int xlog_exit(void);

#ifdef __cplusplus
}
#endif

#endif
