#!/usr/bin/perl
# As empty.c: what the console would cost before its first line, were it written in Perl.
print "Content-Type: text/html\r\n\r\n<html></html>\n";
