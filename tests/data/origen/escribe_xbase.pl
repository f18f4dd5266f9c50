#!/usr/bin/perl
# Writes a reference table with Perl's XBase and prints what XBase itself reads back.
#
#     perl escribe_xbase.pl FILE LINES      LINES: lineas.csv in the code page that the table is to have
use strict;
use warnings;
use XBase;

my ($file, $lines) = @ARGV;
my $table = XBase->create(
    name => $file,
    field_names    => [ 'FECHA', 'HORA', 'CONCEPTO', 'CODCLIENTE', 'SALIDA' ],
    field_types    => [ 'D', 'C', 'C', 'N', 'C' ],
    field_lengths  => [ 8, 5, 40, 20, 1 ],
    field_decimals => [ undef, undef, undef, 4, undef ],
) or die XBase->errstr;
open my $in, '<', $lines or die;
my @gone;
while (<$in>) {
    chomp;
    my ($number, $deleted, @fields) = split /;/, $_, 7;
    $_ = $_ eq '' ? undef : $_ for @fields;
    $table->set_record($number - 1, @fields) or die $table->errstr;
    push @gone, $number - 1 if $deleted;
}
$table->delete_record($_) for @gone;
$table->close;

$table = XBase->new($file) or die XBase->errstr;
for my $number (0 .. $table->last_record) {
    my ($deleted, @fields) = $table->get_record($number);
    $fields[3] = sprintf('%.4f', $fields[3]) if defined $fields[3];
    print join(';', $number + 1, $deleted ? '*' : '', map { defined $_ ? $_ : '' } @fields), "\n";
}
