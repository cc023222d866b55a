#!/usr/bin/env bash
# includes that run upwards through the layers
perl scripts/layers.pl
