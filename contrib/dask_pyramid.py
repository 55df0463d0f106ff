#!/usr/bin/python3
"""Makes a pyramid of the globe with the workers of a Dask cluster.

    dask_pyramid.py -o OUT.pbi --shards 8 [--scheduler tcp://HOST:8786 | --local 4] [--zrkio PATH] IN... [OPTION...]

What follows the options of this script goes to `zrkio pyramid` as it is. Each shard is a task that runs
`zrkio pyramid ... --shard K/N`. A level of pictures is made of the finer one, so that the tasks of a pass wait for all of
those of the pass before it. A task that is lost with its worker is run again by the scheduler, and goes on where it was.
Workers have to see the same folders.
"""

import argparse
import os
import subprocess
import sys

import dask
from dask.distributed import Client, LocalCluster

# A pyramid of pictures has no more levels, and one of heights is made in one pass.
MOST_PASSES = 9
WAITING = "which other shards have not completed"


def make_shard(command, number, count, _before):
    """Runs one shard. What it could not do because a level waits for others is done by a later pass."""
    run = subprocess.run(command + ["--shard", f"{number}/{count}"], stderr=subprocess.PIPE, text=True, check=False)
    if run.returncode != 0 and WAITING not in run.stderr:
        raise RuntimeError(run.stderr.strip())


def build_pass(command, count, before):
    """The tasks of a pass, each of which needs those of the pass before it."""
    return [dask.delayed(make_shard, pure=False)(command, number, count, before) for number in range(1, count + 1)]


def build_graph(command, count, passes):
    tasks = []
    for _ in range(passes):
        tasks = build_pass(command, count, tasks)
    return dask.delayed(list)(tasks)


def parse_arguments():
    parser = argparse.ArgumentParser(description="Makes a pyramid of the globe with the workers of a Dask cluster.")
    parser.add_argument("--shards", type=int, default=8, help="parts that the work is divided into (8)")
    parser.add_argument("--scheduler", help="address of a scheduler; a cluster on this machine unless given")
    parser.add_argument("--local", type=int, default=os.cpu_count(), help="workers of the cluster on this machine")
    parser.add_argument("--zrkio", default="zrkio", help="the program (zrkio)")
    parser.add_argument("-o", "--output", required=True, help="the file to write")
    parser.add_argument("--passes", type=int, default=MOST_PASSES, help="at least as many as there are levels (9)")
    return parser.parse_known_args()


def main():
    options, rest = parse_arguments()
    if not rest:
        sys.exit("dask_pyramid: there are no arguments for zrkio pyramid")
    command = [options.zrkio, "pyramid", *rest, "-o", options.output]
    if "--workers" not in rest:
        command += ["--workers", "1"]
    cluster = None if options.scheduler else LocalCluster(
        n_workers=options.local, threads_per_worker=1, dashboard_address=None)
    with Client(options.scheduler or cluster) as client:
        client.compute(build_graph(command, options.shards, options.passes), sync=True)
    if cluster:
        cluster.close()
    if not os.path.exists(options.output):
        sys.exit(f"dask_pyramid: {options.output} is not complete; more passes go on with it")


if __name__ == "__main__":
    main()
