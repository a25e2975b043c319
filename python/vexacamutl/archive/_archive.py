# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Many frames in many files as one sequence."""
from __future__ import annotations

import builtins
import operator
from bisect import bisect_right
from typing import Any, Iterator, NamedTuple, Optional, Union

import numpy as np
from numpy.typing import NDArray

from .._formats import FormatLike
from .._numbers import integer
from . import _optional
from ._blocks import Block, FrameReader, Segment, blocks_of, make_reader, read_block
from ._errors import MixedFramesError
from ._inputs import BadInput, FrameLayout, Input, PathsLike, find_inputs, layout_options
from ._report import ConversionReport
from ._times import times_of
from ._tool import find_tool


class Place(NamedTuple):
    """Where a frame is."""

    path: str
    frame: int


class _Source(NamedTuple):
    """What an archive and all its slices share."""

    inputs: list[Input]
    starts: list[int]
    bad: tuple[BadInput, ...]
    options: tuple[str, ...]
    shift: int
    range: str
    tool: Optional[str]


class Archive:
    """The frames of many files, in the order of their names: a sequence that is read frame by frame.

    `open` makes one. An index gives a frame as `unpack` does, an array of its own; a slice gives an archive of those
    frames, which shares everything with this one. Archives can be pickled.

    Examples
    --------
    >>> frames = archive.open("recordings/*.raw", "BayerRG8", 64, 48)
    >>> len(frames), frames[-1].shape, len(frames[::10])
    (40, (48, 64), 4)
    """

    def __init__(self, source: _Source, frames: builtins.range, frames_per_chunk: int) -> None:
        self._source = source
        self._frames = frames
        self._frames_per_chunk = frames_per_chunk

    def __len__(self) -> int:
        return len(self._frames)

    def __repr__(self) -> str:
        shown = self._shown_layouts()
        return f"<Archive of {len(self)} frames, {shown[0] if len(shown) == 1 else 'mixed layouts' if shown else 'no layout'}>"

    def _shown_layouts(self) -> list[str]:
        """Formats and sizes: the place of frames in their files makes no difference to what they are."""
        return list(dict.fromkeys(f"{layout.format} {layout.width}x{layout.height}" for layout in self.layouts))

    def _find(self, index: int) -> tuple[Input, int]:
        """The input that has a frame, by the number that the frame has in the whole archive."""
        at = bisect_right(self._source.starts, index) - 1
        return self._source.inputs[at], index - self._source.starts[at]

    def __getitem__(self, index: Union[int, slice]) -> Any:
        """A frame, or an archive of some of the frames."""
        if isinstance(index, slice):
            return Archive(self._source, self._frames[index], self._frames_per_chunk)
        source, frame = self._find(self._number(index))
        reader = FrameReader(source.layout, self._source.shift)
        return reader.read((Segment(source.path, frame, 1, source.layout),))[0]

    def _number(self, index: int) -> int:
        try:
            return self._frames[operator.index(index)]
        except TypeError:
            raise TypeError(f"a frame is named by a whole number or a slice, not {type(index).__name__}") from None
        except IndexError:
            raise IndexError(f"there is no frame {index}; the archive has {len(self)}") from None

    def __iter__(self) -> Iterator[NDArray[Any]]:
        return (self[i] for i in builtins.range(len(self)))

    def place(self, index: int) -> Place:
        """The file that holds a frame, and the frame's number in it."""
        source, frame = self._find(self._number(index))
        return Place(source.path, frame)

    @property
    def frames_per_chunk(self) -> int:
        """Frames of one chunk of the lazy array."""
        return self._frames_per_chunk

    @property
    def bad(self) -> tuple[BadInput, ...]:
        """The inputs that cannot be read and are left out, each with its reason."""
        return self._source.bad

    @property
    def inputs(self) -> list[Input]:
        """The files of these frames."""
        return [source for source, _ in self.runs()]

    @property
    def layouts(self) -> list[FrameLayout]:
        """The different layouts of these frames."""
        return list(dict.fromkeys(source.layout for source in self.inputs))

    @property
    def nbytes(self) -> int:
        """Bytes of these frames in their files."""
        return sum(source.layout.frame_bytes * len(frames) for source, frames in self.runs())

    def runs(self) -> Iterator[tuple[Input, builtins.range]]:
        """Each input with the numbers that these frames have in it."""
        at, frames = 0, self._frames
        while at < len(frames):
            source, frame = self._find(frames[at])
            start = frames[at] - frame
            if frames.step > 0:
                inside = len(builtins.range(frames[at], start + source.frames, frames.step))
            else:
                inside = len(builtins.range(frames[at], start - 1, frames.step))
            part = frames[at : at + inside]
            yield source, builtins.range(part.start - start, part.stop - start, part.step)
            at += len(part)

    def segments(self) -> Iterator[Segment]:
        """The same as parts of files that follow each other."""
        for source, frames in self.runs():
            if frames.step == 1:
                yield Segment(source.path, frames.start, len(frames), source.layout)
            else:
                yield from (Segment(source.path, frame, 1, source.layout) for frame in frames)

    @property
    def layout_options(self) -> tuple[str, ...]:
        """What the tool is told of the layout of raw files."""
        return self._source.options

    @property
    def range(self) -> str:
        """Of YUV samples."""
        return self._source.range

    @property
    def tool(self) -> Optional[str]:
        """The tool that `open` was given; None where it is looked for."""
        return self._source.tool

    @property
    def timestamps(self) -> NDArray[np.datetime64]:
        """When each frame was taken, as its sidecar says: datetime64[ns], NaT where none does."""
        parts = [times_of(source)[np.asarray(frames, np.intp)] for source, frames in self.runs()]
        return np.concatenate(parts) if parts else np.empty(0, "datetime64[ns]")

    def _one_layout(self) -> FrameLayout:
        """One of those of the frames, when they have one format and size."""
        shown = self._shown_layouts()
        if len(shown) == 1:
            return self.layouts[0]
        raise MixedFramesError(
            f"one array cannot hold frames of {len(shown)} layouts"
            + (f" ({', '.join(shown[:3])}{', ...' if len(shown) > 3 else ''})" if shown else "")
        )

    def to_dask(self, to: Optional[str] = None, **settings: Any) -> Any:
        """Make a lazy array of the frames, or of their pictures.

        Each chunk has `frames_per_chunk` frames; its task opens the files and closes them. Frames that differ in size
        or format have no common array: take them apart by slices.

        Parameters
        ----------
        to : {"bgra", "bgr", "rgb", "rgba", "grey", "grey16"}, optional
            The kind of picture; None for the samples, as `unpack` gives them.
        **settings
            What `Converter` takes: bayer, mode, white_balance, black_level, exposure, tone, matrix.

        Returns
        -------
        dask.array.Array
            Of shape (frames, height, width) or (frames, height, width, channels).

        Raises
        ------
        DaskMissingError
            Dask is not installed.
        MixedFramesError
            The frames have several formats or sizes, or there are none.
        UnsupportedFormatError, TypeError, ValueError
            A setting does not fit.

        Examples
        --------
        >>> frames = archive.open("recordings/*.raw", "BayerRG8", 64, 48)
        >>> frames.to_dask("rgb", white_balance="auto").shape
        (40, 48, 64, 3)
        """
        arrays = _optional.module("dask.array")
        layout = self._one_layout()
        reader = make_reader(layout, self._source.shift, self._source.range, to, settings)
        shape, dtype = reader.form()
        blocks = list(blocks_of(self.segments(), self._frames_per_chunk))
        tokenize = _optional.module("dask.base").tokenize
        stamps = tuple((source.path, source.mtime_ns, source.layout) for source in self.inputs)
        name = f"vexacamutl-{to or 'frames'}-{tokenize(reader, self._frames, self._frames_per_chunk, stamps)}"
        rest = (0,) * len(shape)
        graph = {(name, i, *rest): (read_block, Block(reader, block)) for i, block in enumerate(blocks)}
        counts = tuple(sum(segment.length for segment in block) for block in blocks)
        return arrays.Array(graph, name, (counts, *((extent,) for extent in shape)), dtype=dtype)

    def convert(
        self,
        out: Any,
        to: str = "png",
        scheduler: Any = None,
        resume: bool = True,
        *,
        jobs: Optional[int] = None,
        batch: Optional[int] = None,
        digest: str = "crc32",
        progress: Optional[bool] = None,
        patience: float = 300.0,
        **settings: Any,
    ) -> ConversionReport:
        """Convert every frame into a file of a folder, or all into one Zarr array, each exactly once.

        The results are those of `vexacamutl convert --output-dir`, by name and byte. A manifest in the folder says
        what is done; a second call goes on where the first one stopped, also when it was killed.

        Parameters
        ----------
        out : str or path-like
            The folder for the results; it is made if it does not exist. Workers must see it, and the inputs, under
            the same names.
        to : {"png", "tiff", "jpg", "bgra", "zarr", ...}
            The kind of result: those of the tool that are pictures, or one Zarr array of all frames.
        scheduler : str, distributed.Client or None
            "tcp://HOST:PORT" of a Dask scheduler, or a client of one; "slurm" starts the workers as a job array;
            None starts processes of the tool on this machine.
        resume : bool
            False forgets what the manifest says and makes every result anew.
        jobs : int, optional
            Processes at a time on this machine, or workers to ask Slurm for. One per processor; 4 workers.
        batch : int, optional
            Frames of one task. Without it half of a thread's share of what is left, at most 512 and 256 MiB.
        digest : {"crc32", "sha256"}
            What the manifest keeps of each result.
        progress : bool, optional
            A line on standard error; None where that is a terminal.
        patience : float
            Seconds to wait for a scheduler that went away, or for its first worker.
        **settings
            mode, bayer, bits, white_balance, black_level, exposure, tone, alpha, png_level, quality, sync; as in
            `to_rgb`, else as the options of `vexacamutl convert`.

        Returns
        -------
        ConversionReport
            How many frames are done, skipped and failed; the failed ones with their reasons.

        Raises
        ------
        SettingError, NameCollisionError, InputOverwriteError, ManifestError, MixedFramesError
            Refused, before anything is written.
        ArchiveInUseError
            Another process converts into the folder.
        ToolError, DaskMissingError, SchedulerError
            Something is not installed, not reachable, or went away for too long.
        OSError
            The folder or its manifest cannot be written.

        Examples
        --------
        >>> frames = archive.open("recordings/*.raw", "BayerRG8", 64, 48)
        >>> report = frames.convert("pictures", to="png", mode="acpi")
        >>> report.done, report.skipped, report.failed
        (40, 0, [])
        >>> frames.convert("pictures", to="png", mode="acpi").skipped
        40
        """
        from ._convert import Options, convert_archive  # which imports this module

        options = Options(jobs, batch, digest, progress, patience)
        return convert_archive(self, out, to, scheduler, resume, options, settings)


def open(
    paths: PathsLike,
    format: Optional[FormatLike] = None,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    offset: Optional[int] = None,
    frames_per_chunk: int = 16,
    *,
    shift: int = 0,
    range: str = "full",
    tool: Optional[str] = None,
) -> Archive:
    """Open an archive: single frames, RWH files, folders, raw sequences of any size.

    The tool `vexacamutl` reads headers and sidecars. Files that it cannot read are left out; `bad` of the archive says
    why.

    Parameters
    ----------
    paths : path, pattern, or list of both
        A file; a folder, for its raw frames (`*.raw`, `*.bin`, `*.rwh`); a pattern such as ``"day*/*.raw"``, where
        ``**`` stands for folders in folders.
    format : PixelFormat, int or str, optional
        Any format, for files without sidecar. With `width` and `height` it goes before the sidecars.
    width, height : int, optional
        In pixels and rows.
    stride, offset : int, optional
        Bytes from row to row, and before the first frame.
    frames_per_chunk : int
        Frames of one chunk of the lazy array.
    shift : int
        For 16-bit words: the sample is ``word >> shift``.
    range : {"full", "limited"}
        Of YUV.
    tool : str, optional
        The tool; without it the one that VEXACAMUTL_TOOL names, or `vexacamutl` on PATH.

    Returns
    -------
    Archive

    Raises
    ------
    NoFramesError
        Nothing matches, or nothing can be read.
    ToolError
        The tool was not found.
    UnsupportedFormatError, SettingError, TypeError, ValueError
        An argument does not fit.

    Examples
    --------
    >>> archive.open("recordings/", "BayerRG8", 64, 48)
    <Archive of 40 frames, BayerRG8 64x48>
    """
    chunk = integer(frames_per_chunk, "frames_per_chunk", 1)
    options = layout_options(format, width, height, stride, offset, shift, range)
    inputs, bad = find_inputs(find_tool(tool), paths, options)
    starts = [0]
    for source in inputs:
        starts.append(starts[-1] + source.frames)
    source_of_all = _Source(inputs, starts, tuple(bad), options, integer(shift, "the shift"), range, tool)
    return Archive(source_of_all, builtins.range(starts[-1]), chunk)
