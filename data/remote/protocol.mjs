// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * The way to the host: obs-websocket, protocol version 5, and in it the vendor that answers for the notes. No document
 * tree here.
 */

/** @typedef {{salt: string, secret: string}} Credential what a password becomes for one server's salt */
/** @typedef {Record<string, any>} Reply an object of the vendor's; its members are checked where they are used */
/** @typedef {{resolve: (reply: Reply) => void, reject: (error: Failure) => void, timer: number}} Pending */

/** A failure with a short name that the page turns into a notice. */
export class Failure extends Error {
	/** @param {string} code */
	constructor(code) {
		super(code);
		this.code = code;
	}
}

const vendorName = 'QuillBay';
const connectTimeoutMs = 10_000;
const requestTimeoutMs = 6_000;
const vendorEvents = 1 << 9;
const authenticationFailed = 4009;
/** The request status of a host that is not ready, as while it changes the scene collection. */
const notReady = 207;
/** The close code of a session that the host's user has ended. */
export const sessionInvalidated = 4011;
const opcode = { hello: 0, identify: 1, identified: 2, event: 5, request: 6, response: 7 };

// --- SHA-256 (FIPS 180-4) --------------------------------------------------------------------------------------------

// A page served over plain HTTP has no crypto.subtle. The constants are the first 32 bits of the fractional parts of
// the cube roots of the first 64 primes (rounds) and of the square roots of the first 8 (initial hash), as hexadecimal.
const roundConstants = words(
	'428a2f9871374491b5c0fbcfe9b5dba53956c25b59f111f1923f82a4ab1c5ed5d807aa9812835b01243185be550c7dc3' +
		'72be5d7480deb1fe9bdc06a7c19bf174e49b69c1efbe47860fc19dc6240ca1cc2de92c6f4a7484aa5cb0a9dc76f988da' +
		'983e5152a831c66db00327c8bf597fc7c6e00bf3d5a7914706ca63511429296727b70a852e1b21384d2c6dfc53380d13' +
		'650a7354766a0abb81c2c92e92722c85a2bfe8a1a81a664bc24b8b70c76c51a3d192e819d6990624f40e3585106aa070' +
		'19a4c1161e376c082748774c34b0bcb5391c0cb34ed8aa4a5b9cca4f682e6ff3748f82ee78a5636f84c878148cc70208' +
		'90befffaa4506cebbef9a3f7c67178f2',
);
const initialHash = words('6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19');

/** @param {string} hex */
function words(hex) {
	return Uint32Array.from(hex.match(/.{8}/g) ?? [], (word) => parseInt(word, 16));
}

/** @param {number} value @param {number} bits */
const rotate = (value, bits) => (value >>> bits) | (value << (32 - bits));

/** The message with its padding: a one bit, zeros, and its length in bits. @param {Uint8Array} message */
function padded(message) {
	const bytes = new Uint8Array(Math.ceil((message.length + 9) / 64) * 64);
	bytes.set(message);
	bytes[message.length] = 0x80;
	const view = new DataView(bytes.buffer);
	view.setBigUint64(bytes.length - 8, BigInt(message.length) * 8n);
	return view;
}

/** @param {Uint32Array} hash @param {Uint32Array} schedule */
function compress(hash, schedule) {
	let [a, b, c, d, e, f, g, h] = hash;
	for (let i = 0; i < 64; ++i) {
		const s1 = rotate(e, 6) ^ rotate(e, 11) ^ rotate(e, 25);
		const t1 = (h + s1 + ((e & f) ^ (~e & g)) + roundConstants[i] + schedule[i]) | 0;
		const s0 = rotate(a, 2) ^ rotate(a, 13) ^ rotate(a, 22);
		const t2 = (s0 + ((a & b) ^ (a & c) ^ (b & c))) | 0;
		[h, g, f, e, d, c, b, a] = [g, f, e, (d + t1) | 0, c, b, a, (t1 + t2) | 0];
	}
	[a, b, c, d, e, f, g, h].forEach((value, i) => (hash[i] += value));
}

/**
 * The 32 bytes of the SHA-256 digest of a text's UTF-8 form.
 * @param {string} text
 * @returns {Uint8Array}
 */
export function sha256(text) {
	const message = padded(new TextEncoder().encode(text));
	const hash = initialHash.slice();
	const schedule = new Uint32Array(64);
	for (let block = 0; block < message.byteLength; block += 64) {
		for (let i = 0; i < 16; ++i) {
			schedule[i] = message.getUint32(block + 4 * i);
		}
		for (let i = 16; i < 64; ++i) {
			const [x, y] = [schedule[i - 15], schedule[i - 2]];
			const s0 = rotate(x, 7) ^ rotate(x, 18) ^ (x >>> 3);
			const s1 = rotate(y, 17) ^ rotate(y, 19) ^ (y >>> 10);
			schedule[i] = schedule[i - 16] + s0 + schedule[i - 7] + s1;
		}
		compress(hash, schedule);
	}
	const digest = new DataView(new ArrayBuffer(32));
	hash.forEach((word, i) => digest.setUint32(4 * i, word));
	return new Uint8Array(digest.buffer);
}

/** @param {string} text */
function digestText(text) {
	return btoa(String.fromCharCode(...sha256(text)));
}

// --- the connection --------------------------------------------------------------------------------------------------

/** One connection attempt, and the connection that it becomes. */
export class Connection {
	/** @type {Map<string, Pending>} */
	pending = new Map();
	counter = 0;
	/** @type {WebSocket | null} */
	socket = null;
	/** @type {Credential | null} what the last successful login was made with */
	credential = null;

	/**
	 * @param {(state: Reply, type: string) => void} onEvent is told the vendor's events "Changed" and "Scroll"
	 * @param {(event: CloseEvent) => void} onClose
	 */
	constructor(onEvent, onClose) {
		this.onEvent = onEvent;
		this.onClose = onClose;
	}

	/**
	 * Logs in. Resolves when the server knows us; rejects with "timeout", "password-required" (a server without a
	 * password is refused), "authentication" or "connection".
	 * @param {string} url @param {string} password empty to use what is remembered
	 * @param {Credential | null} remembered
	 * @returns {Promise<void>}
	 */
	connect(url, password, remembered) {
		return new Promise((resolve, reject) => {
			/** @param {string} code */
			const refuse = (code) => {
				clearTimeout(timer);
				reject(new Failure(code));
				this.close();
			};
			const timer = setTimeout(() => refuse('timeout'), connectTimeoutMs);
			let /** @type {WebSocket} */ socket;
			try {
				socket = this.socket = new WebSocket(url);
			} catch {
				refuse('connection');
				return;
			}
			socket.onerror = () => socket.close();
			socket.onclose = (event) => {
				refuse(event.code === authenticationFailed ? 'authentication' : 'connection');
				this.#abandonRequests();
				this.onClose(event);
			};
			socket.onmessage = ({ data }) => {
				const message = parsed(data);
				if (message?.op === opcode.hello) {
					const refusal = this.#identify(message.d, password, remembered);
					password = '';
					if (refusal) refuse(refusal);
				} else if (message?.op === opcode.identified) {
					clearTimeout(timer);
					resolve();
				} else {
					this.#receive(message);
				}
			};
		});
	}

	/**
	 * Answers the server's greeting, or names why it is refused.
	 * @param {Reply | undefined} hello @param {string} password @param {Credential | null} remembered
	 */
	#identify(hello, password, remembered) {
		const authentication = hello?.authentication;
		if (!authentication) {
			return 'password-required';
		}
		const { salt, challenge } = authentication;
		let secret = remembered?.salt === salt ? remembered?.secret : '';
		if (password) {
			secret = digestText(password + salt);
		}
		if (!secret) {
			return 'authentication';
		}
		this.credential = { salt, secret };
		this.#send(opcode.identify, {
			rpcVersion: 1,
			eventSubscriptions: vendorEvents,
			authentication: digestText(secret + challenge),
		});
		return '';
	}

	/** @param {Reply | null} message null when it was no message of the protocol */
	#receive(message) {
		const { op, d } = message ?? {};
		if (!message) {
			this.close();
		} else if (op === opcode.response) {
			this.#settle(d ?? {});
		} else if (op === opcode.event && d?.eventType === 'VendorEvent' && d.eventData?.vendorName === vendorName) {
			const { eventType, eventData } = d.eventData;
			const state = parsed(eventData?.payload);
			if (state && (eventType === 'Changed' || eventType === 'Scroll')) {
				this.onEvent(state, eventType);
			}
		}
	}

	/** @param {Reply} response */
	#settle({ requestId, requestStatus, responseData }) {
		const pending = this.pending.get(requestId);
		if (!pending) {
			return;
		}
		this.pending.delete(requestId);
		clearTimeout(pending.timer);
		const reply = parsed(responseData?.responseData?.payload);
		if (requestStatus?.result === false) {
			const { code, comment } = requestStatus;
			pending.reject(new Failure(code === notReady ? 'loading' : String(comment || 'request')));
		} else if (reply) {
			pending.resolve(reply);
		} else {
			pending.reject(new Failure('response'));
		}
	}

	/**
	 * Sends one action to the vendor. Rejects with "disconnected", "timeout", "response", "request", "loading" (as the
	 * vendor says itself while the host is not ready) or the server's comment; a reply that says no is a reply.
	 * @param {Reply} input
	 * @returns {Promise<Reply>}
	 */
	request(input) {
		return new Promise((resolve, reject) => {
			if (this.socket?.readyState !== WebSocket.OPEN) {
				reject(new Failure('disconnected'));
				return;
			}
			const requestId = String(++this.counter);
			const timer = setTimeout(() => {
				this.pending.delete(requestId);
				reject(new Failure('timeout'));
			}, requestTimeoutMs);
			this.pending.set(requestId, { resolve, reject, timer });
			const requestData = { vendorName, requestType: 'Request', requestData: { payload: JSON.stringify(input) } };
			this.#send(opcode.request, { requestType: 'CallVendorRequest', requestId, requestData });
		});
	}

	#abandonRequests() {
		for (const { reject, timer } of this.pending.values()) {
			clearTimeout(timer);
			reject(new Failure('disconnected'));
		}
		this.pending.clear();
	}

	/** @param {number} op @param {Reply} d */
	#send(op, d) {
		this.socket?.send(JSON.stringify({ op, d }));
	}

	close() {
		this.socket?.close();
	}
}

/**
 * The object that a text of JSON holds, or null.
 * @param {any} text
 * @returns {Reply | null}
 */
function parsed(text) {
	try {
		const value = JSON.parse(text);
		return value && typeof value === 'object' ? value : null;
	} catch {
		return null;
	}
}
