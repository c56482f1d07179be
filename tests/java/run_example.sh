#!/bin/sh
# Compiles and runs the Java example in a fresh directory with only the jar:
#   run_example.sh JAVAC JAVA JAR EXAMPLE.java
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$3" "$dir/extractor-kr.jar"
cp "$4" "$dir/Example.java"
cd "$dir"
"$1" -encoding UTF-8 -cp extractor-kr.jar Example.java
"$2" -cp extractor-kr.jar:. Example
