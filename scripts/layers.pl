#!/usr/bin/env perl
# Prints each include in src/ of a folder that the including folder may not see.
use strict;
use warnings;
use File::Find;

# What each folder may include, itself and base aside.
my %may = (
    base => [],
    osa => [],
    text => [],
    list => [],
    crypto => [qw(osa text)],
    gz => [qw(osa)],
    xml => [qw(osa)],
    ats => [qw(osa text)],
    mdblite => [qw(osa)],
    config => [qw(osa xml)],
    notify => [qw(osa xml config)],
);
# The log alone of osa reads its settings through the XML tree.
my %also = ('src/osa/osa_log' => ['xml']);

# Which folder a public header belongs to.
my @owner = (
    [qr/^osa_|^time_translate/ => 'osa'], [qr/^at_/ => 'ats'], [qr/^cl_(7bit|8bit|base64|convertor|xcodec)/ => 'text'],
    [qr/^(cl_des|desc|cl_md5|cl_sha256|cl_crc|crc32|cl_cipher)/ => 'crypto'], [qr/^xml/ => 'xml'],
    [qr/^mdb/ => 'mdblite'], [qr/^(config|sysguard)/ => 'config'], [qr/^(notify|webserver)/ => 'notify'],
    [qr/^(gz|cl_gz)/ => 'gz'], [qr/^(list|cl_lst|cl_list)/ => 'list'],
);

my $faults = 0;
find({ no_chdir => 1, wanted => sub {
    my $file = $_;
    return unless $file =~ m{^src/([^/]+)/.*\.(h|cpp|c)$};
    my $folder = $1;
    my %allowed = map { $_ => 1 } $folder, 'base', @{ $may{$folder} // [] };
    for my $prefix (keys %also) { $allowed{$_} = 1 for $file =~ /^\Q$prefix/ ? @{ $also{$prefix} } : () }
    open my $in, '<', $file or die "$file: $!";
    while (my $line = <$in>) {
        next unless $line =~ /^#include "([^"]+)"/;
        my $name = $1;
        my $target;
        if ($name =~ m{^hearth/(.+)\.h$}) {
            my $header = $1;
            next if $header eq 'api' || $header eq 'osa_log' || $header eq 'osa_memory';
            for my $rule (@owner) { $target //= $rule->[1] if $header =~ $rule->[0] }
        } elsif ($name =~ m{^([^/]+)/}) {
            $target = $1;
        }
        next unless defined $target;
        if (!$allowed{$target}) { print "$file:$.: $folder may not include $name\n"; $faults++ }
    }
    close $in;
} }, 'src');
print $faults ? "$faults includes run upwards\n" : "no include runs upwards\n";
exit($faults ? 1 : 0);
