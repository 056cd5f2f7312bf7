#!/usr/bin/env python3
"""Writes examples/connections.csv: connections seen by the example gateway.

The hosts, servers, applications, URLs and times are taken from the example
configuration in examples/gateway/ so that every decision has something to
find: departments and employees of the address plan, addresses in the
example range tables, user-defined application ports, system and user URL
categories, white-listed hosts, and times inside and outside the time
objects. A fixed seed keeps the file stable.
"""

import random
import sys

INSIDE = [
    # employees (tb_employee.xml)
    "10.10.1.10", "10.10.2.15", "10.10.10.23", "10.10.20.5", "10.10.100.8",
    "10.10.5.77",
    # departments without employee records (organization.xml)
    "10.10.2.77", "10.10.3.5", "10.10.3.200", "10.10.4.5", "10.10.12.9",
    "10.10.14.3", "10.10.28.7", "10.10.150.3", "172.20.1.5",
    # IP objects (ip_obj_mgr.xml)
    "192.168.1.2", "192.168.10.5", "192.168.20.30", "192.168.20.200",
    "192.168.99.4", "172.16.100.5",
]
OUTSIDE = [
    "1.2.3.4", "1.33.2.2", "1.130.4.5", "1.150.9.9", "1.170.20.1",
    "2.20.1.1", "2.96.3.3", "3.1.1.1", "3.210.1.1", "3.250.7.7",
    "4.176.40.1", "4.20.1.1", "9.40.2.2", "13.70.1.1", "198.51.100.7",
]
URLS = [
    # system database categories
    "http://www.beijinzhi272.org/index.html", "www.shansenxin.com/",
    "baqi.cn/news/2026/11", "http://a.tianshan.net.cn/v", "boxiali.net/",
    "www.kangjintian.com.cn/mail", "chenlize.net.cn/", "qingli.net.cn/game",
    "https://jinchangxing.com/search?q=x", "huanshuzhong.cn/",
    # user database categories (user_url.xml)
    "badsite.example.com/", "www.leak.example.org/upload/file",
    "erp.corp.example.cn/login", "docs.example.com/api/v2",
    "download.example.net/setup.exe", "cdn.mirror.example.org/debian",
    # white list (white_url.xml)
    "intranet.example.cn/", "oa.example.cn/flow", "update.example.com/patch",
    "www.gov.example.cn/notice/12",
    # nothing
    "www.example.com/", "unknown.test/a",
]
TIMES = [
    "2026-11-16 08:10:00", "2026-11-16 09:15:00", "2026-11-17 12:30:00",
    "2026-11-18 14:05:30", "2026-11-19 17:45:00", "2026-11-20 23:10:00",
    "2026-11-21 10:00:00", "2026-11-22 03:20:00", "2026-10-01 10:00:00",
    "2026-05-02 12:15:00", "2026-09-28 09:00:00", "2026-11-18 05:59:59",
]
MACS = ["00-1A-2B-3C-4D-01", "00-1A-2B-3C-5E-10", "00-1A-2B-3C-4D-99"]


def web(rnd):
    port = rnd.choice([80, 443, 8080])
    return (rnd.choice(INSIDE), rnd.randint(1025, 65535),
            rnd.choice(OUTSIDE), port, "tcp", rnd.choice(URLS))


def app(rnd):
    kind = rnd.randrange(6)
    client = rnd.choice(INSIDE)
    high = rnd.randint(1025, 65535)
    if kind == 0:  # erp
        return (client, high, rnd.choice(["10.10.1.20", "10.10.1.21"]),
                rnd.randint(8000, 8010), "tcp", "")
    if kind == 1:  # oa
        return (client, high, "10.10.1.30", rnd.choice([443, 8443]), "tcp", "")
    if kind == 2:  # video meeting
        return (client, rnd.randint(50000, 50100), rnd.choice(OUTSIDE),
                rnd.randint(50000, 50100), "udp", "")
    if kind == 3:  # branch sync
        return ("172.20.%d.%d" % (rnd.randint(0, 3), rnd.randint(1, 254)),
                high, rnd.choice(OUTSIDE), rnd.choice([22, 873, 9000]),
                "tcp", "")
    if kind == 4:  # dns
        return (client, high, rnd.choice(OUTSIDE), 53, "udp", "")
    return (client, high, rnd.choice(OUTSIDE), rnd.randint(1025, 65535),
            rnd.choice(["tcp", "udp"]), "")


def inbound(rnd):
    server = rnd.choice(["203.0.113.10", "203.0.113.20", "10.10.200.10"])
    return (rnd.choice(OUTSIDE), rnd.randint(1025, 65535), server,
            rnd.choice([80, 443, 25, 3389]), "tcp", "")


def internal(rnd):
    return (rnd.choice(INSIDE), rnd.randint(1025, 65535),
            rnd.choice(["10.10.200.10", "10.10.100.8", "192.168.20.200"]),
            rnd.choice([445, 139, 3389, 22]), "tcp", "")


def broadcast(rnd):
    a = rnd.choice(INSIDE)
    return (a, rnd.choice([137, 138]), a.rsplit(".", 1)[0] + ".255",
            rnd.choice([137, 138]), "udp", "")


def main():
    rnd = random.Random(20261118)
    makers = [web] * 6 + [app] * 4 + [inbound, internal, broadcast]
    out = sys.stdout
    out.write("time,first_ip,first_port,second_ip,second_port,transport,"
              "url,mac\n")
    for _ in range(300):
        a, ap, b, bp, transport, url = rnd.choice(makers)(rnd)
        mac = rnd.choice(MACS) if rnd.random() < 0.08 else ""
        out.write("%s,%s,%d,%s,%d,%s,%s,%s\n" % (
            rnd.choice(TIMES), a, ap, b, bp, transport, url, mac))


if __name__ == "__main__":
    main()
