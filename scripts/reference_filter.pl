#!/usr/bin/env perl
# For Doxygen: turns the headers' comments into its own. A comment above a declaration belongs to
# it and to those that follow it up to an empty line or the next comment; one behind a member
# belongs to the member and to those below it that have none.
use strict;
use warnings;

local $/;
my $text = <>;
# The comment of the file itself.
$text =~ s{\A/\*}{/** \@file\n};
# Behind a member or a declaration, on its line.
$text =~ s{(\S[^\n]*[,;\w\]\)][ ]*)/\*[ ]}{$1/**< }g;
# Above.
$text =~ s{(^|\n)([ ]*)/\*(?=[ \n])}{$1$2/**}g;
# A comment holds for all declarations up to an empty line or the next comment.
my ($comment, $in_comment, $fresh, $member_told) = ('', 0, 0, 0);
for my $line (split /^/, $text) {
    if ($line =~ m{^\s*/\*\*(?!<)}) { ($comment, $in_comment) = ('', 1) }
    if ($in_comment) {
        $comment .= $line;
        ($in_comment, $fresh) = (0, 1) if $line =~ m{\*/};
    } elsif ($line =~ /^(HEARTH_API|#define)/) {
        print $comment unless $fresh;
        $fresh = 0;
    } elsif ($line !~ /\S/) {
        $comment = '' unless $fresh;
    } elsif ($line =~ /^\S/) {
        ($comment, $fresh) = ('', 0);
    }
    if ($line =~ /^\s+\w.*;/) {
        $line =~ s{;$}{; /**< See above. */} if $member_told;
        $member_told ||= $line =~ m{/\*\*<};
    } elsif ($line =~ /^\S/) {
        $member_told = 0;
    }
    print $line;
}
