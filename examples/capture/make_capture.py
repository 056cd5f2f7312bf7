#!/usr/bin/env python3
"""Writes example.pcap: a few flows of the example gateway's address plan
for `quarn classify examples/capture/example.pcap`.

  - a DNS answer naming chenlize.net.cn (1.2.3.4) for 10.10.2.15, then a
    TCP connection from 10.10.2.15 to 1.2.3.4:8080 that names nothing
    itself: the DNS answer names it;
  - an HTTP request from 10.10.3.5 to download.example.net;
  - a TLS ClientHello from 10.10.3.5 naming boxiali.net, in VLAN 10;
  - an IPv6 packet, counted and not classified.

Ethernet frames, pcap with microsecond stamps, from 2026-11-18 14:05:30
UTC. Usage: make_capture.py [OUT] (default: example.pcap beside this file).
"""
import os
import socket
import struct
import sys

START = 1795010730  # 2026-11-18 14:05:30 UTC


def ip(text):
    return socket.inet_aton(text)


def checksum(data):
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack("!%dH" % (len(data) // 2), data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def ipv4(src, dst, proto, payload):
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(payload), 0,
                         0x4000, 64, proto, 0, ip(src), ip(dst))
    header = header[:10] + struct.pack("!H", checksum(header)) + header[12:]
    return header + payload


def tcp(src, sport, dst, dport, seq, ack, flags, data=b""):
    segment = struct.pack("!HHIIBBHHH", sport, dport, seq, ack, 5 << 4, flags,
                          65535, 0, 0) + data
    return ipv4(src, dst, 6, segment)


def udp(src, sport, dst, dport, data):
    return ipv4(src, dst, 17,
                struct.pack("!HHHH", sport, dport, 8 + len(data), 0) + data)


def ethernet(packet, src, dst, vlan=None, ethertype=0x0800):
    mac = lambda last: bytes([2, 0, 0, 0, 0, last])
    tag = struct.pack("!HH", 0x8100, vlan) if vlan is not None else b""
    return mac(dst) + mac(src) + tag + struct.pack("!H", ethertype) + packet


def dns_answer(name, address):
    qname = b"".join(bytes([len(p)]) + p.encode() for p in name.split("."))
    qname += b"\0"
    return (struct.pack("!HHHHHH", 0x1234, 0x8180, 1, 1, 0, 0) + qname +
            struct.pack("!HH", 1, 1) +
            struct.pack("!HHHIH", 0xC00C, 1, 1, 300, 4) + ip(address))


def client_hello(name):
    host = name.encode()
    sni = struct.pack("!HB H", len(host) + 3, 0, len(host)) + host
    extensions = struct.pack("!HH", 0, len(sni)) + sni
    body = (b"\x03\x03" + bytes(32) + b"\0" + struct.pack("!HH", 2, 0x1301) +
            b"\x01\x00" + struct.pack("!H", len(extensions)) + extensions)
    handshake = b"\x01" + struct.pack("!I", len(body))[1:] + body
    return b"\x16\x03\x01" + struct.pack("!H", len(handshake)) + handshake


def connection(frames, at, c, cport, s, sport, data=b"", vlan=None):
    def client(seq, flags, payload=b""):
        frames.append((at, ethernet(tcp(c, cport, s, sport, seq, 5001, flags,
                                        payload), 1, 2, vlan)))

    def server(seq, flags):
        frames.append((at, ethernet(tcp(s, sport, c, cport, seq, 1001, flags),
                                    2, 1, vlan)))
    client(1000, 0x02)
    server(5000, 0x12)
    client(1001, 0x10)
    if data:
        client(1001, 0x18, data)
    client(1001 + len(data), 0x11)
    server(5001, 0x11)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here,
                                                             "example.pcap")
    frames = [(0, ethernet(udp("8.8.8.8", 53, "10.10.2.15", 40000,
                               dns_answer("chenlize.net.cn", "1.2.3.4")),
                           9, 1))]
    connection(frames, 1, "10.10.2.15", 50000, "1.2.3.4", 8080)
    connection(frames, 2, "10.10.3.5", 50001, "1.130.4.5", 80,
               b"GET /setup.exe HTTP/1.1\r\nHost: download.example.net\r\n\r\n")
    connection(frames, 3, "10.10.3.5", 50002, "198.51.100.7", 443,
               client_hello("boxiali.net"), vlan=10)
    frames.append((4, ethernet(bytes(48), 1, 2, ethertype=0x86DD)))
    with open(out, "wb") as f:
        f.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
        for at, frame in frames:
            f.write(struct.pack("<IIII", START + at, 0, len(frame), len(frame)))
            f.write(frame)


if __name__ == "__main__":
    main()
