#!/usr/bin/perl
# Writes a MaxMind DB (.mmdb) that answers an IPv4 address with the area
# the range tables give it, for the address-to-area peer benchmark.
#
#   ranges_to_mmdb.pl OUT.mmdb LEVEL1.txt             # level-1 answers
#   ranges_to_mmdb.pl OUT.mmdb LEVEL1.txt LEVEL2.txt  # level-2 answers
#
# The inputs are range sources in the form quarn_ipt reads (UTF-8; "#"
# comments; "version N"; "<first-ip> <last-ip> <area-id hex> <description>").
# Each record of the database is a map {id => uint64, name => utf8_string}.
#
# With a level-2 source the database holds what a level-2 lookup answers:
# the level-1 area, except inside level-1 ranges of the one area that
# level 2 divides (0x0000A02A00000000), where the answer is the level-2
# range, or the "unkonwn" area 0x0000A02AFF000000 where level 2 has none.
# Level-2 ranges outside such level-1 ranges are never answered.
# Addresses in no range have no record; the benchmark reads that as the
# unknown area 0x000FFFFF00000000.
use strict;
use warnings;
no warnings 'portable';    # 64-bit hex area ids
use MaxMind::DB::Writer::Tree;

my $REFINED         = 0x0000A02A00000000;
my $REFINED_UNKNOWN = 0x0000A02AFF000000;

die "usage: $0 OUT.mmdb LEVEL1.txt [LEVEL2.txt]\n" unless @ARGV >= 2;
my ( $out, $level1, $level2 ) = @ARGV;

sub dotted_to_int {
    my @b = split /\./, $_[0];
    die "bad address $_[0]\n" unless @b == 4;
    return ( $b[0] << 24 ) | ( $b[1] << 16 ) | ( $b[2] << 8 ) | $b[3];
}

sub int_to_dotted {
    my $v = shift;
    return join '.', ( $v >> 24 ) & 255, ( $v >> 16 ) & 255,
        ( $v >> 8 ) & 255, $v & 255;
}

# Reads a range source; dies on overlapping ranges, which the tables would
# drop and this writer would not.
sub read_ranges {
    my $path = shift;
    open my $fh, '<:encoding(UTF-8)', $path or die "$path: $!\n";
    my @ranges;
    while ( my $line = <$fh> ) {
        $line =~ s/\s+$//;
        next if $line =~ /^\s*(#|$)/ || $line =~ /^\s*version\b/;
        my ( $first, $last, $id, $name ) = split ' ', $line, 4;
        die "$path: bad line: $line\n" unless defined $name;
        $id =~ s/^0x//i;
        push @ranges, [ dotted_to_int($first), dotted_to_int($last),
            hex($id), $name ];
    }
    close $fh;
    @ranges = sort { $a->[0] <=> $b->[0] } @ranges;
    for my $i ( 1 .. $#ranges ) {
        die "$path: ranges overlap at " . int_to_dotted( $ranges[$i][0] ) . "\n"
            if $ranges[$i][0] <= $ranges[ $i - 1 ][1];
    }
    return \@ranges;
}

my $tree = MaxMind::DB::Writer::Tree->new(
    ip_version               => 4,
    record_size              => 32,
    database_type            => 'quarn-area',
    languages                => ['zh'],
    description              => { en => 'areas of the quarn range tables' },
    remove_reserved_networks => 0,
    merge_strategy           => 'none',
    map_key_type_callback    =>
        sub { { id => 'uint64', name => 'utf8_string' }->{ $_[0] } },
);

my %records;    # one data map per area, shared by its ranges
sub record_of {
    my ( $id, $name ) = @_;
    return $records{"$id\t$name"} //= { id => $id, name => $name };
}

sub insert {
    my ( $first, $last, $record ) = @_;
    $tree->insert_range( int_to_dotted($first), int_to_dotted($last),
        $record );
}

my $l1 = read_ranges($level1);
my @refined;    # level-1 ranges that level 2 divides
for my $r (@$l1) {
    if ( defined $level2 && $r->[2] == $REFINED ) {
        push @refined, $r;
        insert( $r->[0], $r->[1], record_of( $REFINED_UNKNOWN, 'unkonwn' ) );
    }
    else {
        insert( $r->[0], $r->[1], record_of( $r->[2], $r->[3] ) );
    }
}

if ( defined $level2 ) {
    # Both lists are sorted and disjoint: walk them together and write each
    # level-2 range clipped to the divided level-1 ranges, over the
    # "unkonwn" records written above.
    my $l2 = read_ranges($level2);
    my $j  = 0;
    for my $r (@$l2) {
        $j++ while $j < @refined && $refined[$j][1] < $r->[0];
        for ( my $k = $j; $k < @refined && $refined[$k][0] <= $r->[1]; $k++ ) {
            my $first = $r->[0] > $refined[$k][0] ? $r->[0] : $refined[$k][0];
            my $last  = $r->[1] < $refined[$k][1] ? $r->[1] : $refined[$k][1];
            insert( $first, $last, record_of( $r->[2], $r->[3] ) );
        }
    }
}

open my $fh, '>:raw', "$out.tmp" or die "$out.tmp: $!\n";
$tree->write_tree($fh);
close $fh or die "$out.tmp: $!\n";
rename "$out.tmp", $out or die "$out: $!\n";
