#!/usr/bin/env bash
# Prints how many lines of code each part of the tree has, and what tests and fuzzer are of the rest:
# scripts/sizes.sh [FOLDER...]; given folders, only the count of each of their files.
#
# A line counts when something is left of it without its comments. Counted are the files that git knows
# and that end in .cpp, .h, .c or .in; build files, scripts and documents are not.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

git ls-files -z --cached --others --exclude-standard -- "$@" | perl -0 -e '
  use strict;
  use warnings;

  sub code_lines {
    my ($path) = @_;
    open my $file, "<", $path or return 0;  # deleted, and git not told yet
    local $/;
    my $text = <$file>;
    # Strings and characters are looked for too, so that what looks like a comment in one is none.
    $text =~ s{(R"([^()\s]*)\(.*?\)\2"|"(?:\\.|[^"\\\n])*"|\x27(?:\\.|[^\x27\\\n])\x27)|//[^\n]*|/\*(.*?)\*/}
              {$1 // ($3 // "") =~ tr/\n//cdr}gse;
    return scalar grep { /\S/ } split /\n/, $text;
  }

  my @paths = map { chomp; $_ } <STDIN>;
  s/\0$// for @paths;
  my %lines = map { $_ => code_lines($_) } grep { /\.(cpp|h|c|in)$/ } @paths;

  if (@ARGV) {
    printf "%7d  %s\n", $lines{$_}, $_ for sort keys %lines;
    exit;
  }

  my (%folder, %part);
  for my $path (keys %lines) {
    my @steps = split m{/}, $path;
    my $top = @steps > 1 ? $steps[0] : ".";
    $folder{$top} += $lines{$path};
    $part{$top}{$steps[1]} += $lines{$path} if @steps > 2;
  }
  my $total = sub { my $sum = 0; $sum += $folder{$_} // 0 for @_; return $sum };
  my $show = sub {
    for my $top (@_) {
      next unless $folder{$top};
      printf "%-22s %7d\n", $top, $folder{$top};
      my $parts = $part{$top} // {};
      next if $top eq "include";
      printf "  %-20s %7d\n", $_, $parts->{$_} for sort keys %$parts;
    }
  };

  my @tests = qw(tests fuzz);
  my @apart = qw(bench scripts cmake docs .ci .);
  my %known = map { $_ => 1 } @tests, @apart;
  my @code = sort grep { !$known{$_} } keys %folder;

  $show->(@code);
  printf "%-22s %7d\n\n", "all of that", $total->(@code);
  $show->(@tests);
  printf "%-22s %7d, %.1f %% of the code above\n\n", "tests and fuzzer",
         $total->(@tests), 100 * $total->(@tests) / $total->(@code);
  print "in neither sum:\n";
  $show->(@apart);
' -- "$@"
