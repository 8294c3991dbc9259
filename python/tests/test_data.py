"""Which data are accepted, which of them without a copy, and how others are refused."""

import numpy as np
import pytest
import scipy.sparse
from hypothesis import given, settings
from hypothesis import strategies as st

import activeset
from conftest import problem

LAYOUTS = {
    "rows": lambda a: np.ascontiguousarray(a),
    "columns": lambda a: np.asfortranarray(a),
    "gap in rows": lambda a: np.hstack([a, a])[:, :a.shape[1]],
    "gap in columns": lambda a: np.asfortranarray(np.vstack([a, a]))[:a.shape[0]],
    "transposed": lambda a: np.ascontiguousarray(a.T).T,
    "every second": lambda a: np.repeat(np.repeat(a, 2, 0), 2, 1)[::2, ::2],
    "backwards": lambda a: a[::-1, ::-1].copy()[::-1, ::-1],
    "unaligned": lambda a: np.frombuffer(b"x" + a.tobytes(), np.uint8)[1:].view(
        np.float64).reshape(a.shape),
    "big endian": lambda a: a.astype(">f8"),
    "list": lambda a: a.tolist(),
    "sparse": scipy.sparse.csr_matrix,
    "matrix": np.matrix,
}
IN_PLACE = ["rows", "columns", "gap in rows", "gap in columns", "transposed"]


@pytest.mark.parametrize("layout", IN_PLACE)
def test_arrays_in_these_orders_are_used_where_they_lie(layout):
    parts = problem(3)
    P, G = LAYOUTS[layout](parts["P"]), LAYOUTS[layout](parts["G"])
    p = activeset.Problem(P, parts["q"], G, parts["h"], lb=parts["lb"])
    views = p._data.views()
    for array, name in ((P, "H"), (G, "A"), (parts["q"], "c"), (parts["h"], "rowUpper"),
                        (parts["lb"], "lower")):
        assert views[name][0] == array.ctypes.data
    assert p.P is P


@pytest.mark.filterwarnings("ignore:the matrix subclass:PendingDeprecationWarning")
@settings(max_examples=60, deadline=None)
@given(seed=st.integers(0, 1000), n=st.integers(1, 5), m=st.integers(0, 4), p=st.integers(0, 2),
       layouts=st.lists(st.sampled_from(sorted(LAYOUTS)), min_size=3, max_size=3))
def test_the_answer_does_not_depend_on_order_stride_or_container(seed, n, m, p, layouts):
    parts = problem(seed, n, m, min(p, n))
    plain = activeset.solve_qp(**parts)
    copies = {name: np.copy(part) for name, part in parts.items()}
    for name, layout in zip(("P", "G", "A"), layouts):
        parts[name] = LAYOUTS[layout](parts[name]) if parts[name].size else parts[name]
    other = activeset.solve_qp(**parts)
    np.testing.assert_array_equal(plain.x, other.x)
    np.testing.assert_array_equal(plain.z, other.z)
    for name in ("q", "h", "l", "b", "lb", "ub"):
        np.testing.assert_array_equal(parts[name], copies[name])


@pytest.mark.parametrize("dtype", [np.int8, np.int64, np.uint16, np.float16, np.float32, bool])
def test_numbers_of_other_types_are_converted(dtype):
    P = np.array([[1, 0], [0, 1]], dtype=dtype)
    r = activeset.solve_qp(P, np.array([1, 1], dtype=dtype), lb=np.array([0, 0], dtype=dtype))
    np.testing.assert_array_equal(r.x, [0, 0])


def test_pandas_objects_are_converted():
    pd = pytest.importorskip("pandas")
    r = activeset.solve_qp(pd.DataFrame(np.eye(2)), pd.Series([-1.0, -2.0]))
    np.testing.assert_array_equal(r.x, [1, 2])


def test_a_row_may_have_one_dimension_and_its_side_none():
    r = activeset.solve_qp(np.eye(2), [-2, -3], np.array([1.0, 1.0]), 3.0)
    np.testing.assert_allclose(r.x, [1, 2], atol=1e-15)


def test_empty_sides_need_no_rows():
    r = activeset.solve_qp(np.eye(2), [-2, -3], h=[], l=[], b=[])
    np.testing.assert_allclose(r.x, [2, 3], atol=1e-15)


EYE = np.eye(2)


@pytest.mark.parametrize("changes, name, text", [
    ({"P": 1j * EYE}, "P", "complex"),
    ({"P": np.array([[1, None], [0, 1]])}, "P", "object"),
    ({"P": "text"}, "P", "type"),
    ({"P": np.ma.masked_array(EYE, mask=EYE > 0)}, "P", "masked"),
    ({"P": np.eye(3)}, "P", r"shape \(3, 3\), expected \(2, 2\)"),
    ({"P": np.ones(2)}, "P", "two dimensions"),
    ({"P": np.ones((2, 2, 2))}, "P", "two dimensions"),
    ({"q": np.ones((2, 1))}, "q", r"shape \(2, 1\), expected one dimension: write np.ravel"),
    ({"lb": [None, 0]}, "lb", "an absent bound is infinite, not None"),
    ({"q": np.array([1, 2], dtype=object)}, "q", r"object, .*np.asarray\(..., dtype=float\)"),
    ({"q": np.array(["a", "b"])}, "q", "type"),
    ({"G": np.ones((1, 3)), "h": [1.0]}, "G", r"shape \(1, 3\), expected \(1, 2\)"),
    ({"G": EYE}, "h", "missing"),
    ({"h": [1.0]}, "h", r"expected \(0,\)"),
    ({"A": EYE}, "b", "missing"),
    ({"A": EYE, "b": [1.0]}, "b", r"expected \(2,\)"),
    ({"lb": [0.0]}, "lb", r"expected \(2,\)"),
    ({"lb": 0.0}, "lb", r"is a number, expected shape \(2,\): write np.full\(2, 0.0\)"),
    ({"G": [], "h": []}, "G", r"expected \(1, 2\); an absent G is None"),
    ({"q": np.ones(2, np.longdouble)}, "q", "expected float64"),
    ({"x0": [0.0]}, "x0", r"expected \(2,\)"),
    ({"constant": "much"}, "constant", "no number"),
    ({"P": None, "q": None}, "q", "missing"),
    ({"q": [np.nan, 1.0]}, "q", r"q\[0\] = nan"),
    ({"P": np.array([[1.0, 2.0], [0.0, 1.0]])}, "P", "not symmetric"),
    ({"G": [[1.0, 1.0]], "h": [1.0], "A": [[1.0, np.inf]], "b": [1.0]}, "A", r"A\[0, 1\] = inf"),
    ({"G": [[1.0, 1.0]], "h": [1.0], "l": [2.0]}, "l", r"l\[0\] = 2 is above h\[0\] = 1"),
    ({"lb": [0.0, 1.0], "ub": [0.0, 0.0]}, "lb", r"lb\[1\] = 1 is above ub\[1\] = 0"),
])
def test_wrong_data_are_refused_by_name(changes, name, text):
    with pytest.raises(activeset.ProblemError, match=text) as caught:
        activeset.solve_qp(**{"P": EYE, "q": [1.0, 1.0], **changes})
    assert name in [fault.name for fault in caught.value.faults]
    assert isinstance(caught.value, ValueError)


def test_all_faults_are_listed_with_index_value_and_names():
    with pytest.raises(activeset.ProblemError) as caught:
        activeset.solve_qp(EYE, [np.nan, np.inf], EYE, [np.nan, 1], A=[[1, 1]], b=[np.nan],
                           names=["x", "y"], row_names=["r", "s", "t"])
    found = {(fault.name, fault.index) for fault in caught.value.faults}
    assert found == {("q", (0,)), ("q", (1,)), ("h", (0,)), ("b", (0,))}
    assert "h[0] (row 'r') = nan" in str(caught.value)
    assert "b[0] (row 't') = nan" in str(caught.value)
    assert "q[1] (variable 'y') = inf" in str(caught.value)


@pytest.mark.parametrize("options, error", [
    ({"settings": 3}, TypeError), ({"callback": 3}, TypeError), ({"warm_start": 3}, TypeError),
    ({"settings": activeset.Settings(tolerance=-1.0)}, activeset.ProblemError),
    ({"settings": activeset.Settings(start="tepid")}, ValueError),
    ({"settings": activeset.Settings(max_iterations=0)}, ValueError),
    ({"settings": activeset.Settings(time_limit=-1.0)}, activeset.ProblemError),
    ({"settings": activeset.Settings(time_limit="soon")}, TypeError),
    ({"settings": activeset.Settings(keep_factors=1)}, TypeError),
    ({"settings": activeset.Settings(max_iterations=1.5)}, TypeError),
    ({"names": ["a"]}, activeset.ProblemError), ({"names": "ab"}, TypeError),
    ({"unknown": 1}, TypeError), ({"P": EYE}, TypeError),
])
def test_wrong_options_are_refused(options, error):
    with pytest.raises(error):
        activeset.solve_qp(EYE, [1.0, 1.0], **options)
