#!/usr/bin/env python3
"""Writes the example URL category databases and the example white list.

  examples/url/sys_url.xml        system database (plain XML, GBK)
  examples/gateway/user_url.xml   the administrator's database
  examples/gateway/white_url.xml  the white URL list

The host names are synthetic (seeded, so every run writes the same bytes).
The enciphered system database examples/url/sys_url.dat is made from
sys_url.xml by the quarn_urldb tool:

  quarn_urldb examples/url/sys_url.xml examples/url/sys_url.dat
"""

import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.path.dirname(HERE)

# Bit i of "hitype" is category i. Bits 1, 2, 3 and 17 are the categories
# that stand for applications (web video, web mail, games, stocks).
CATEGORIES = [
    "新闻门户", "网络视频", "网页邮箱", "网络游戏", "搜索引擎", "社交网络",
    "即时通讯", "网上购物", "银行金融", "在线音乐", "网络文学", "博客论坛",
    "招聘求职", "旅游出行", "房产家居", "汽车资讯", "体育运动", "股票证券",
    "教育培训", "医疗健康", "软件下载", "网络存储", "政府机构", "科技资讯",
    "生活服务", "地图导航", "彩票竞猜", "成人内容", "代理翻墙", "广告推广",
]
PATTERNS_PER_CATEGORY = 700

SYLLABLES = ("an ba bei bo cai chang chen da dian dong fang fei feng gao "
             "guo hai hang hong hua huan jia jian jin jing kai kang lan le "
             "li lian long ma mei ming na ning pan peng qi qian qing rui sen "
             "shan shi shu song tai tian tong wan wei wen xi xia xin xing "
             "yang yi yin yong yu yuan yun ze zhi zhong zhou").split()
TLDS = [".com", ".cn", ".com.cn", ".net", ".org", ".tv", ".cc", ".net.cn"]
PATHS = ["/news", "/video", "/play", "/mail", "/bbs", "/shop", "/music",
         "/book", "/game", "/api", "/m", "/list", "/item", "/login"]


def host_name(rng, used):
    while True:
        words = rng.randint(2, 3)
        name = "".join(rng.choice(SYLLABLES) for _ in range(words))
        if rng.random() < 0.3:
            name += str(rng.randint(1, 999))
        host = name + rng.choice(TLDS)
        if host not in used:
            used.add(host)
            return host


def pattern(rng, host):
    """One pattern and its match type, in the mix a real database has."""
    roll = rng.random()
    if roll < 0.45:
        return host, 0                                  # host anywhere
    if roll < 0.65:
        return "www." + host, 0                         # "www." host
    if roll < 0.80:
        return "." + host, 0                            # sub-domains
    if roll < 0.92:
        return host + rng.choice(PATHS), 1              # URL prefix
    return "www." + host + rng.choice(PATHS), 1         # "www." prefix


def attr(text):
    return (text.replace("&", "&amp;").replace("\"", "&quot;")
            .replace("<", "&lt;"))


def url_elements(rng, patterns, indent):
    """Groups patterns of one match type, up to three per "url" element."""
    lines = []
    i = 0
    while i < len(patterns):
        match = patterns[i][1]
        group = [patterns[i][0]]
        i += 1
        while i < len(patterns) and len(group) < rng.randint(1, 3) and \
                patterns[i][1] == match:
            group.append(patterns[i][0])
            i += 1
        lines.append('%s<url url="%s" match="%d"/>' %
                     (indent, attr(", ".join(group)), match))
    return lines


def write_gbk(path, lines):
    text = "\n".join(lines) + "\n"
    with open(path, "wb") as out:
        out.write(text.encode("gbk"))


def system_db():
    rng = random.Random(20260101)
    used = set()
    lines = ['<?xml version="1.0" encoding="GBK"?>', "<sys_url>",
             '  <version_info current="2026.01.1" time="2026-01-01"/>',
             '  <url_db url_db_type="0">']
    for bit, name in enumerate(CATEGORIES):
        lines.append('    <url_type name="%s" hitype="%d" lotype="0">' %
                     (name, 1 << bit))
        patterns = [pattern(rng, host_name(rng, used))
                    for _ in range(PATTERNS_PER_CATEGORY)]
        lines += url_elements(rng, patterns, "      ")
        lines.append("    </url_type>")
    lines += ["  </url_db>", "</sys_url>"]
    write_gbk(os.path.join(HERE, "sys_url.xml"), lines)


def user_db():
    lines = ['<?xml version="1.0" encoding="GBK"?>', "<sys_url>",
             '  <url_db url_db_type="2">',
             '    <url_type name="禁止访问网站" hitype="0" lotype="2">',
             '      <url url="badsite.example.com, .gamble.example.net" '
             'match="0"/>',
             '      <url url="www.leak.example.org/upload" match="1"/>',
             "    </url_type>",
             '    <url_type name="工作相关网站" hitype="0" lotype="4">',
             '      <url url=".corp.example.cn" match="0"/>',
             '      <url url="www.partner.example.com" match="0"/>',
             '      <url url="docs.example.com/api" match="1"/>',
             "    </url_type>",
             '    <url_type name="下载站点" hitype="0" lotype="8">',
             '      <url url="download, .mirror.example.org" match="0"/>',
             "    </url_type>",
             "  </url_db>",
             "  <except_url>",
             '    <url_type name="排除" hitype="0" lotype="1">',
             '      <url url="update.example.com" match="0"/>',
             "    </url_type>",
             "  </except_url>",
             "</sys_url>"]
    write_gbk(os.path.join(EXAMPLES, "gateway", "user_url.xml"), lines)


def white_list():
    lines = ['<?xml version="1.0" encoding="GBK"?>', "<white_url>",
             "  <white_url>",
             '    <url url="intranet.example.cn, oa.example.cn" match="0"/>',
             '    <url url="update.example.com" match="0"/>',
             '    <url url="www.gov.example.cn/notice" match="1"/>',
             "  </white_url>",
             "</white_url>"]
    write_gbk(os.path.join(EXAMPLES, "gateway", "white_url.xml"), lines)


if __name__ == "__main__":
    system_db()
    user_db()
    white_list()
