"""The server's port is fixed: tests that start it keep it to a network of their own where the system lets them."""
import ctypes
import fcntl
import os
import socket
import struct

NEW_NETWORK, NEW_USER = 0x40000000, 0x10000000
SET_FLAGS, UP = 0x8914, 0x1


def enter_own_network():
    """Moves this process, before it has a second thread, and all that it starts to a network with only a loopback.

    Returns false, and has changed nothing, where this is not allowed: the machine's own loopback serves then.
    """
    libc = ctypes.CDLL(None, use_errno=True)
    user, group = os.getuid(), os.getgid()
    if libc.unshare(NEW_NETWORK if user == 0 else NEW_NETWORK | NEW_USER) != 0:
        return False
    if user != 0:
        for path, text in [("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1")]:
            with open(f"/proc/self/{path}", "w", encoding="ascii") as file:
                file.write(text)
    with socket.socket() as any_socket:
        fcntl.ioctl(any_socket, SET_FLAGS, struct.pack("16sh14x", b"lo", UP))
    return True
