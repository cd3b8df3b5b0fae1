"""Statistics of many flights: one table row a flight, on all cores of one machine or on a Dask cluster.

    python3 -m ostravel.fleet FOLDER -o fleet.csv
    python3 -m ostravel.fleet FOLDER -o fleet.csv --function mine:row --scheduler tcp://HOST:8786

A function of your own takes a flight and returns the cells of its row. It may start from those of statistics():

    from ostravel.fleet import statistics

    def row(flight):
        cells = statistics(flight)
        cells["roll_max"] = flight["PGS_Roll"].max()
        return cells
"""

from ._statistics import statistics

__all__ = ["statistics"]
