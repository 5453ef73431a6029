/* Stand-in: socket option helpers.  Like the real header it relies on a
 * libxorp header (for xsock_t) being included first. */
#ifndef VORN_STANDIN_LIBCOMM_COMM_API_H
#define VORN_STANDIN_LIBCOMM_COMM_API_H

#define COMM_SOCK_BLOCKING 1
#define COMM_SOCK_NONBLOCKING 0
#define SO_RCV_BUF_SIZE_MAX 262144
#define SO_RCV_BUF_SIZE_MIN 49152
#define SO_SND_BUF_SIZE_MAX 262144
#define SO_SND_BUF_SIZE_MIN 49152

#ifdef __cplusplus
extern "C" {
#endif

int comm_sock_set_blocking(xsock_t sock, int is_blocking);
int comm_sock_set_rcvbuf(xsock_t sock, int desired_bufsize, int min_bufsize);
int comm_sock_set_sndbuf(xsock_t sock, int desired_bufsize, int min_bufsize);

#ifdef __cplusplus
}
#endif

#endif
