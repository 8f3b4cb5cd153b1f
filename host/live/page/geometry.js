// @ts-check
// Where the elements of a hand are drawn, and which of them is meant. Positions are in mm, y upwards; pure
// functions, as `tessel plot` has them for its pictures.

/** @typedef {[number, number]} Point */
/** @typedef {{name: string, elements: number[]}} Region */

const smallestCell = 1.5;
const largestCell = 14;
const cellShare = 0.86;

/** @param {Point} origin @param {Point} a @param {Point} b */
function cross(origin, a, b) {
  return (a[0] - origin[0]) * (b[1] - origin[1]) - (a[1] - origin[1]) * (b[0] - origin[0]);
}

/**
 * The convex hull.
 * @param {readonly Point[]} points
 * @returns {Point[]}
 */
export function hullOf(points) {
  const sorted = [...points].sort((a, b) => a[0] - b[0] || a[1] - b[1]);
  /** @type {Point[]} */
  const hull = [];
  for (const half of [sorted, [...sorted].reverse()]) {
    const start = hull.length;
    for (const point of half) {
      while (hull.length >= start + 2 && cross(hull[hull.length - 2], hull[hull.length - 1], point) <= 0) hull.pop();
      hull.push(point);
    }
    if (hull.length > start + 1) hull.pop(); // the first of the other half
  }
  return hull;
}

/**
 * The size of each element's cell: it leaves some space to the next element, and all cells of a region have
 * the same.
 * @param {readonly Point[]} positions
 * @param {readonly Region[]} regions
 * @returns {number[]}
 */
export function cellSizes(positions, regions) {
  const sizes = new Array(positions.length).fill(smallestCell);
  for (const region of regions) {
    let nearest = largestCell / cellShare;
    for (const element of region.elements) {
      for (let other = 0; other < positions.length; ++other) {
        const distance = Math.hypot(
          positions[element][0] - positions[other][0],
          positions[element][1] - positions[other][1],
        );
        // Elements on top of each other say nothing about the space around them.
        if (other !== element && distance > smallestCell) nearest = Math.min(nearest, distance);
      }
    }
    for (const element of region.elements) sizes[element] = Math.max(smallestCell, nearest * cellShare);
  }
  return sizes;
}

/**
 * The elements row by row, for gloves without positions.
 * @param {number} count
 * @returns {Point[]}
 */
export function gridOf(count) {
  const distance = 10;
  const columns = Math.max(1, Math.ceil(Math.sqrt(count)));
  return Array.from({ length: count }, (_, element) => [
    distance * (element % columns),
    -distance * Math.floor(element / columns),
  ]);
}

/**
 * With the cells and the outlines around them.
 * @param {readonly Point[]} positions
 * @param {readonly number[]} sizes
 */
export function extentOf(positions, sizes) {
  const extent = { left: Infinity, right: -Infinity, low: Infinity, high: -Infinity };
  positions.forEach(([x, y], element) => {
    extent.left = Math.min(extent.left, x - sizes[element]);
    extent.right = Math.max(extent.right, x + sizes[element]);
    extent.low = Math.min(extent.low, y - sizes[element]);
    extent.high = Math.max(extent.high, y + sizes[element]);
  });
  return extent;
}

/**
 * The element at this place, or null between them.
 * @param {readonly Point[]} positions
 * @param {readonly number[]} sizes
 * @param {Point} place
 * @returns {number|null}
 */
export function elementAt(positions, sizes, place) {
  let nearest = null;
  let shortest = Infinity;
  positions.forEach(([x, y], element) => {
    const distance = Math.hypot(x - place[0], y - place[1]);
    if (distance >= shortest || distance > 0.75 * sizes[element]) return;
    nearest = element;
    shortest = distance;
  });
  return nearest;
}

/**
 * The nearest element in a direction, as (0, 1) for upwards; the same element if there is none.
 * @param {readonly Point[]} positions
 * @param {number} from
 * @param {Point} direction of length 1
 */
export function neighbourOf(positions, from, direction) {
  let best = from;
  let lowest = Infinity;
  positions.forEach(([x, y], element) => {
    const [dx, dy] = [x - positions[from][0], y - positions[from][1]];
    const ahead = dx * direction[0] + dy * direction[1];
    const aside = Math.abs(dx * direction[1] - dy * direction[0]);
    // What is more aside than ahead is reached with the other keys.
    if (element === from || ahead <= 0 || aside > 1.5 * ahead) return;
    const cost = ahead + 2 * aside;
    if (cost >= lowest) return;
    best = element;
    lowest = cost;
  });
  return best;
}
