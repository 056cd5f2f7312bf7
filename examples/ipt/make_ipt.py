#!/usr/bin/env python3
"""Generates the text sources of the example range files.

ipt1.txt divides the public IPv4 space into domestic provinces and foreign
countries; ipt2.txt divides the ranges of area 0x0000A02A00000000 (Guangdong)
into cities, leaving a few pieces undivided. The data is made up but shaped
like the real thing, and the same on every run (fixed seed).

    python3 make_ipt.py            # writes ipt1.txt and ipt2.txt here
    quarn_ipt ipt1.txt ../ipt1.dat
    quarn_ipt ipt2.txt ../ipt2.dat
"""

import ipaddress
import os
import random

VERSION = 20261101
REFINED = 0x2A  # Guangdong

PROVINCES = [
    "北京市", "天津市", "河北省", "山西省", "内蒙古自治区", "辽宁省", "吉林省",
    "黑龙江省", "上海市", "江苏省", "浙江省", "安徽省", "福建省", "江西省",
    "山东省", "河南省", "湖北省", "湖南省", "广西壮族自治区", "海南省",
    "重庆市", "四川省", "贵州省", "云南省", "西藏自治区", "陕西省", "甘肃省",
    "青海省", "宁夏回族自治区", "新疆维吾尔自治区", "香港特别行政区",
    "澳门特别行政区", "台湾省",
]
COUNTRIES = [
    "美国", "日本", "韩国", "德国", "英国", "法国", "俄罗斯", "新加坡",
    "澳大利亚", "加拿大", "印度", "巴西", "荷兰", "意大利", "西班牙", "瑞典",
    "瑞士", "越南", "泰国", "马来西亚", "印度尼西亚", "南非", "墨西哥",
    "阿根廷",
]
CITIES = ["广州市", "深圳市", "东莞市", "佛山市", "珠海市", "汕头市",
          "惠州市", "中山市"]

RESERVED = [ipaddress.ip_network(n) for n in (
    "0.0.0.0/8", "10.0.0.0/8", "100.64.0.0/10", "127.0.0.0/8",
    "169.254.0.0/16", "172.16.0.0/12", "192.0.0.0/24", "192.168.0.0/16",
    "198.18.0.0/15", "224.0.0.0/3")]


def reserved(first, last):
    for net in RESERVED:
        lo, hi = int(net.network_address), int(net.broadcast_address)
        if first <= hi and lo <= last:
            return True
    return False


def ip(value):
    return str(ipaddress.ip_address(value))


def areas():
    domestic = []
    for i, name in enumerate(PROVINCES, start=1):
        domestic.append((0x0000A00000000000 | (i << 32), name))
    domestic.append((0x0000A00000000000 | (REFINED << 32), "广东省"))
    foreign = [(0x0000C00000000000 | (i << 32), name)
               for i, name in enumerate(COUNTRIES, start=1)]
    return domestic, foreign


def level1(rng):
    domestic, foreign = areas()
    guangdong = domestic[-1]
    out = []
    cursor = 1 << 24
    end = 224 << 24
    while cursor < end:
        prefix = rng.randint(10, 18)
        size = 1 << (32 - prefix)
        cursor = (cursor + size - 1) // size * size  # align
        first, last = cursor, cursor + size - 1
        cursor += size
        if last >= end or reserved(first, last) or rng.random() < 0.06:
            continue
        roll = rng.random()
        if roll < 0.07:
            area = guangdong
        elif roll < 0.42:
            area = rng.choice(domestic[:-1])
        else:
            area = rng.choice(foreign)
        out.append((first, last) + area)
    return out


def level2(rng, ranges):
    out = []
    for first, last, area_id, _ in ranges:
        if area_id != 0x0000A00000000000 | (REFINED << 32):
            continue
        pieces = rng.choice((4, 8, 16))
        size = (last - first + 1) // pieces
        for p in range(pieces):
            if rng.random() < 0.1:
                continue  # left undivided: the city is not known
            city = rng.randrange(len(CITIES))
            city_id = 0x0000A00000000000 | (REFINED << 32) | ((city + 1) << 24)
            lo = first + p * size
            out.append((lo, lo + size - 1, city_id, "广东省" + CITIES[city]))
    return out


def write(path, title, ranges):
    with open(path, "w", encoding="utf-8") as f:
        f.write("# %s\n# <first-ip> <last-ip> <area-id> <description>\n" % title)
        f.write("version %d\n" % VERSION)
        for first, last, area_id, name in ranges:
            f.write("%s %s 0x%016X %s\n" % (ip(first), ip(last), area_id, name))


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    rng = random.Random(3)
    ranges1 = level1(rng)
    ranges2 = level2(rng, ranges1)
    write(os.path.join(here, "ipt1.txt"), "Level 1: provinces and countries",
          ranges1)
    write(os.path.join(here, "ipt2.txt"),
          "Level 2: cities of area 0x0000A02A00000000", ranges2)
    print("ipt1.txt: %d ranges, ipt2.txt: %d ranges" % (len(ranges1),
                                                        len(ranges2)))


if __name__ == "__main__":
    main()
