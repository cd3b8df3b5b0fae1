function myMatlabPlot(a1, a2, a3, kind, a5, a6, a7, attack)
% Draws the flown track in a new figure, which stays open until the user closes it.
%
% kind:   0 = track from above, 1 = height, 2 = track in 3D
% attack: 0 = whole flight ("data.txt"), 1 = last leg ("data_attack.txt")
% The other six arguments are constants of the calling program and are ignored.
%
% Reads the track files from the folder in the environment variable OSTRAVEL_PLOT_FOLDER. The program sets it, because
% the compiled function runs from a folder of the runtime and cannot find the program's folder. Without it, for example
% when called by hand, uses the working directory, then the folder of this file. A track file has one line per sample:
% metres east, metres north and metres up, separated by tabs. Errors are shown in the figure.
% Works in MATLAB and GNU Octave.

    kind = double(kind);
    if ~any(kind == [0 1 2])
        error('myMatlabPlot:kind', 'unknown kind of plot %g', kind);
    end
    look = plotLook();
    if kind == 0
        name = '二维航迹';
    elseif kind == 1
        name = '高度曲线';
    elseif attack
        name = '三维航迹（末端攻击）';
    else
        name = '三维航迹（全阶段）';
    end

    if attack
        [track, notes, reason] = readTrack('data_attack.txt');
    else
        [track, notes, reason] = readTrack('data.txt');
    end
    if ~isempty(reason)
        drawMessage(look, name, reason);
    elseif kind == 0
        drawFromAbove(look, name, track, notes);
    elseif kind == 1
        drawHeight(look, name, track, notes);
    else
        drawInSpace(look, name, track, notes, attack);
    end
    drawnow();
end

function look = plotLook()
    % A missing font would show boxes instead of Chinese characters.
    look.font = 'Noto Sans CJK SC';
    if ispc()
        look.font = 'Microsoft YaHei';
    end
    look.ink = [0.13 0.19 0.24];
    look.quiet = [0.42 0.48 0.53];
    look.faint = [0.72 0.77 0.81];
    look.behind = [0.55 0.61 0.66];
    look.line = [0.08 0.40 0.66];
    look.fill = [0.89 0.93 0.97];
    look.start = [0.10 0.60 0.31];
    look.finish = [0.84 0.19 0.12];
    look.top = [0.95 0.56 0.17];
    look.pane = [0.97 0.98 0.99];
    look.grid = [0.80 0.84 0.88];
    look.colours = [49 48 125; 33 102 172; 42 157 143; 138 184 75; 242 177 52; 228 87 46] / 255;
end

function [track, notes, reason] = readTrack(name)
    track = zeros(0, 3);
    notes = {};
    reason = '';
    folder = getenv('OSTRAVEL_PLOT_FOLDER');
    path = name;
    if ~isempty(folder)
        path = fullfile(folder, name);
    elseif ~exist(path, 'file')
        path = fullfile(fileparts(mfilename('fullpath')), name);
    end
    if ~exist(path, 'file')
        reason = {['没有轨迹文件 ' name], '请先读取一次飞行数据'};
        return
    end
    file = fopen(path, 'r');
    if file < 0
        reason = {['无法打开轨迹文件 ' name]};
        return
    end
    text = fread(file, [1 Inf], 'uint8=>char');
    fclose(file);
    text = strrep(text, char(13), '');

    % A file that is being written may end within a line. A truncated number is still a valid number, so drop that line.
    ends = find(text == char(10));
    torn = ~isempty(text) && text(end) ~= char(10);
    damaged = double(torn);
    if isempty(ends)
        text = '';
    else
        text = text(1:ends(end));
    end
    lines = numel(ends);
    [values, ~, ~, next] = sscanf(text, '%f\t%f\t%f\n', [3 Inf]);
    if next > length(text) && mod(numel(values), 3) == 0 && size(values, 2) == lines
        track = values';
    else
        % Line by line: slower, but drops only damaged lines.
        rows = strsplit(text(1:end - min(1, length(text))), char(10), 'CollapseDelimiters', false);
        track = nan(numel(rows), 3);
        sound = false(numel(rows), 1);
        for i = 1:numel(rows)
            words = strsplit(rows{i}, char(9), 'CollapseDelimiters', false);
            if numel(words) == 3
                numbers = str2double(words);
                written = strcmpi(strtrim(words), 'nan');
                sound(i) = all(~isnan(numbers) | written);
                track(i, :) = numbers;
            end
        end
        if isempty(text)
            sound = false(0, 1);
            track = zeros(0, 3);
        end
        damaged = damaged + sum(~sound);
        track = track(sound, :);
    end
    if damaged == 1 && torn
        notes{end + 1} = '最后一行不完整，已略去';
    elseif damaged > 0
        notes{end + 1} = sprintf('%d 行不完整，已略去', damaged);
    end
    % Comparisons with NaN are false. Values beyond 1e9 m are invalid.
    sound = all(abs(track) <= 1e9, 2);
    if ~all(sound)
        notes{end + 1} = sprintf('%d 个点不是有效数值，已略去', sum(~sound));
        track = track(sound, :);
    end
    if size(track, 1) == 0
        reason = [{['轨迹文件 ' name ' 中没有数据']} notes];
    elseif size(track, 1) == 1
        reason = [{['轨迹文件 ' name ' 中只有一个点'], ...
                   sprintf('东向 %g m，北向 %g m，高度 %g m', track(1), track(2), track(3))} notes];
    end
end

function kept = thinned(track, columns)
    % Indices of the points that are distinguishable on the screen. Renderers draw steps below a pixel badly, so of the
    % points within a hundredth of the page only the first, the ends and the extremes are kept.
    values = track(:, columns);
    values(isnan(values)) = 0;
    spans = max(max(values, [], 1) - min(values, [], 1), eps);
    if any(columns == 1)
        ground = columns <= 2;
        spans(ground) = max(spans(ground));
    end
    steps = diff(values, 1, 1) ./ spans(ones(size(values, 1) - 1, 1), :);
    if numel(columns) == 1
        steps = [steps, ones(size(steps)) / size(steps, 1)];
    end
    way = [0; cumsum(sqrt(sum(steps .^ 2, 2)))];
    % Limits the number of steps of a track with many turns to the width of a screen.
    pieces = floor(way / max(0.008, way(end) / 4000));
    kept = [1; find(diff(pieces) > 0) + 1; size(track, 1)];
    [~, low] = min(values, [], 1);
    [~, high] = max(values, [], 1);
    kept = unique([kept; low(:); high(:)]);
end

function distance = groundDistance(track)
    steps = diff(track(:, 1:2), 1, 1);
    distance = [0; cumsum(sqrt(sum(steps .^ 2, 2)))];
end

function figureHandle = newFigure(look, name, subtitle, shape)
    % Neither program reports the size of the task bar, title bar, menu and tool bar, so leaves a margin for all of them:
    % left, bottom, right, top.
    margin = [8 72 8 112];
    screen = get(0, 'ScreenSize');
    room = screen(3:4) - margin(1:2) - margin(3:4);
    shape = min(shape, room);
    slack = room - shape;
    % Shifts each new figure a little, so that several open figures are visible.
    step = min(24 * mod(numel(get(0, 'Children')), 6), slack / 2);
    corner = margin(1:2) + floor(slack / 2 + step .* [1 -1]);
    figureHandle = figure('Name', ['Ostravel - ' name], 'NumberTitle', 'off', 'Color', 'white', ...
                          'Position', [corner shape], 'DefaultAxesFontName', look.font, ...
                          'DefaultTextFontName', look.font);
    page = axes('Parent', figureHandle, 'Position', [0 0 1 1], 'Visible', 'off', 'XLim', [0 1], 'YLim', [0 1], ...
                'HitTest', 'off', 'HandleVisibility', 'off');
    text(0.045, 0.957, name, 'Parent', page, 'FontName', look.font, 'FontSize', 17, 'FontWeight', 'bold', ...
         'Color', look.ink, 'VerticalAlignment', 'middle', 'Interpreter', 'none');
    text(0.045, 0.912, subtitle, 'Parent', page, 'FontName', look.font, 'FontSize', 10.5, 'Color', look.quiet, ...
         'VerticalAlignment', 'middle', 'Interpreter', 'none');
end

function words = summary(track, notes)
    distance = groundDistance(track);
    words = sprintf('%d 个点   ·   地面航程 %.0f m   ·   高度 %s 至 %s m', size(track, 1), distance(end), ...
                    metres(min(track(:, 3))), metres(max(track(:, 3))));
    for i = 1:numel(notes)
        words = [words '   ·   ' notes{i}]; %#ok<AGROW>
    end
end

function words = metres(value)
    % Adding 0 turns -0 into 0.
    words = sprintf('%.1f', round(value * 10) / 10 + 0);
end

function axesHandle = newAxes(figureHandle, look, place)
    axesHandle = axes('Parent', figureHandle, 'Position', place, 'FontName', look.font, 'FontSize', 10.5, ...
                      'XColor', look.ink, 'YColor', look.ink, 'ZColor', look.ink, 'Box', 'off', 'TickDir', 'out', ...
                      'XGrid', 'on', 'YGrid', 'on', 'ZGrid', 'on', 'GridColor', look.grid, 'GridAlpha', 0.8, ...
                      'Layer', 'bottom');
    hold(axesHandle, 'on');
end

function label(axesHandle, look, x, y, z)
    parts = {'XLabel', x; 'YLabel', y; 'ZLabel', z};
    for i = 1:3
        set(get(axesHandle, parts{i, 1}), 'String', parts{i, 2}, 'FontName', look.font, 'FontSize', 11, ...
            'Color', look.ink);
    end
end

function handle = mark(axesHandle, point, shape, colour, size)
    if numel(point) == 3
        handle = plot3(axesHandle, point(1), point(2), point(3), shape);
    else
        handle = plot(axesHandle, point(1), point(2), shape);
    end
    set(handle, 'LineStyle', 'none', 'MarkerSize', size, 'MarkerFaceColor', colour, 'MarkerEdgeColor', 'white');
end

function key(axesHandle, look, handles, names, place)
    box = legend(axesHandle, handles, names, 'Orientation', 'horizontal');
    set(box, 'FontName', look.font, 'FontSize', 10.5, 'Box', 'off', 'Position', place);
end

function limits = spread(values, margin)
    low = min(values);
    high = max(values);
    room = max((high - low) * margin, 0.5);
    limits = [low - room, high + room];
end

function [east, north] = squareLimits(track, margin, slimmest)
    % Equal scales: widens the smaller range, so that a straight leg is not a degenerate plot.
    east = spread(track(:, 1), margin);
    north = spread(track(:, 2), margin);
    longest = max(diff(east), diff(north));
    east = east + max(0, slimmest * longest - diff(east)) * [-0.5 0.5];
    north = north + max(0, slimmest * longest - diff(north)) * [-0.5 0.5];
end

function setColours(figureHandle, axesHandle, look, values, words, place)
    % A custom colour bar: the built-in one changes the size of the axes.
    count = 128;
    steps = linspace(1, size(look.colours, 1), count);
    set(figureHandle, 'Colormap', interp1(1:size(look.colours, 1), look.colours, steps));
    limits = [min(values) max(values)];
    if limits(1) == limits(2)
        limits = limits + [-0.5 0.5];
    end
    caxis(axesHandle, limits);
    scale = newAxes(figureHandle, look, place);
    levels = linspace(limits(1), limits(2), count)';
    surface([zeros(count, 1) ones(count, 1)], [levels levels], zeros(count, 2), [levels levels], 'Parent', scale, ...
            'EdgeColor', 'none', 'FaceColor', 'interp');
    caxis(scale, limits);
    set(scale, 'XLim', [0 1], 'YLim', limits, 'XTick', [], 'YAxisLocation', 'right', 'XGrid', 'off', 'YGrid', 'off', ...
        'XColor', 'white', 'TickDir', 'out', 'TickLength', [0 0]);
    label(scale, look, '', words, '');
end

function handle = colouredLine(axesHandle, points, values)
    % Only the edge of a surface without faces can have a colour per point in both programs.
    handle = surface([points(:, 1) points(:, 1)], [points(:, 2) points(:, 2)], [points(:, 3) points(:, 3)], ...
                     [values values], 'Parent', axesHandle, 'FaceColor', 'none', 'EdgeColor', 'interp', ...
                     'MeshStyle', 'column', 'LineWidth', 2.2);
end

function drawHeight(look, name, track, notes)
    figureHandle = newFigure(look, name, summary(track, notes), [1000 700]);
    across = {(0:size(track, 1) - 1)', groundDistance(track)};
    names = {'采样序号', '地面航程 (m)'};
    places = {[0.085 0.545 0.88 0.32], [0.085 0.095 0.88 0.32]};
    kept = thinned(track, 3);
    up = track(:, 3);
    limits = spread(up, 0.12);
    [highest, top] = max(up);
    for i = 1:2
        axesHandle = newAxes(figureHandle, look, places{i});
        x = across{i};
        patch([x(kept); x(kept(end)); x(kept(1))], [up(kept); limits(1); limits(1)], look.fill, ...
              'Parent', axesHandle, 'EdgeColor', 'none');
        plot(axesHandle, x(kept), up(kept), 'Color', look.line, 'LineWidth', 1.8);
        marks = [mark(axesHandle, [x(1) up(1)], 'o', look.start, 8), ...
                 mark(axesHandle, [x(end) up(end)], 's', look.finish, 9), ...
                 mark(axesHandle, [x(top) highest], '^', look.top, 8)];
        set(axesHandle, 'XLim', spread(x, 0.01), 'YLim', limits);
        label(axesHandle, look, names{i}, '高度 (m)', '');
        if i == 1
            key(axesHandle, look, marks, {['起点 ' metres(up(1)) ' m'], ['终点 ' metres(up(end)) ' m'], ...
                                          ['最高点 ' metres(highest) ' m']}, [0.55 0.875 0.42 0.04]);
        end
    end
end

function drawFromAbove(look, name, track, notes)
    figureHandle = newFigure(look, name, summary(track, notes), [1000 800]);
    axesHandle = newAxes(figureHandle, look, [0.095 0.085 0.745 0.775]);
    part = track(thinned(track, 1:2), :);
    colouredLine(axesHandle, [part(:, 1:2) zeros(size(part, 1), 1)], part(:, 3));
    setColours(figureHandle, axesHandle, look, track(:, 3), '高度 (m)', [0.87 0.085 0.022 0.775]);
    marks = [mark(axesHandle, track(1, 1:2), 'o', look.start, 10), ...
             mark(axesHandle, track(end, 1:2), 's', look.finish, 10)];
    [east, north] = squareLimits(track, 0.06, 0);
    % Equal scales: widens the range that is too short for the shape of the axes.
    page = get(figureHandle, 'Position');
    ratio = 0.745 * page(3) / (0.775 * page(4));
    if diff(east) > ratio * diff(north)
        north = mean(north) + diff(east) / ratio * [-0.5 0.5];
    else
        east = mean(east) + diff(north) * ratio * [-0.5 0.5];
    end
    set(axesHandle, 'XLim', east, 'YLim', north, 'DataAspectRatio', [1 1 1]);
    label(axesHandle, look, '东向距离 (m)', '北向距离 (m)', '');
    corner = [east(2) - 0.035 * diff(east), north(2) - 0.11 * diff(north)];
    plot(axesHandle, corner([1 1]), corner(2) + [0.02 0.085] * diff(north), 'Color', look.ink, 'LineWidth', 1.5);
    arrow = plot(axesHandle, corner(1), corner(2) + 0.085 * diff(north), '^');
    set(arrow, 'MarkerFaceColor', look.ink, 'MarkerEdgeColor', look.ink, 'MarkerSize', 7);
    text(corner(1), corner(2), '北', 'Parent', axesHandle, 'FontName', look.font, 'FontSize', 11, ...
         'HorizontalAlignment', 'center', 'Color', look.ink);
    key(axesHandle, look, marks, {'起点', '终点'}, [0.66 0.868 0.19 0.04]);
end

function drawInSpace(look, name, track, notes, attack)
    figureHandle = newFigure(look, name, summary(track, notes), [1050 800]);
    axesHandle = newAxes(figureHandle, look, [0.075 0.07 0.74 0.80]);
    margin = 0.06;
    if attack
        margin = 0.3;
    end
    [east, north] = squareLimits(track, margin, 0.45);
    up = spread(track(:, 3), margin);
    floorLevel = min(up(1) + (margin - 0.03) * (max(track(:, 3)) - min(track(:, 3))), 0);
    up(1) = floorLevel;
    part = track(thinned(track, 1:3), :);

    plot3(axesHandle, part(:, 1), part(:, 2), floorLevel + zeros(size(part, 1), 1), 'Color', look.faint, ...
          'LineWidth', 0.9);
    names = {'起点', '终点'};
    behind = [];
    if attack
        names = {'攻击段起点', '终点'};
        [whole, ~, reason] = readTrack('data.txt');
        if isempty(reason)
            % Two lines at the same place would flicker.
            whole(ismember(whole, track, 'rows'), :) = NaN;
            whole = whole(thinned(whole, 1:3), :);
            outside = whole(:, 1) < east(1) | whole(:, 1) > east(2) | whole(:, 2) < north(1) | whole(:, 2) > north(2) ...
                      | whole(:, 3) < up(1) | whole(:, 3) > up(2);
            whole(outside, :) = NaN;
            behind = plot3(axesHandle, whole(:, 1), whole(:, 2), whole(:, 3), 'Color', look.behind, 'LineWidth', 1.2);
            names = [{'全程航迹'} names];
        end
        values = part(:, 3);
        words = '高度 (m)';
    else
        values = thinned(track, 1:3) - 1;
        words = '采样序号（时间先后）';
    end
    ends = track([1 end], :);
    colours = [look.start; look.finish];
    for i = 1:2
        plot3(axesHandle, ends(i, [1 1]), ends(i, [2 2]), [floorLevel ends(i, 3)], '--', 'Color', colours(i, :), ...
              'LineWidth', 1.1);
    end
    colouredLine(axesHandle, part, values);
    setColours(figureHandle, axesHandle, look, values, words, [0.895 0.2 0.02 0.55]);
    marks = [mark(axesHandle, ends(1, :), 'o', look.start, 10), mark(axesHandle, ends(2, :), 's', look.finish, 10)];

    % Equal scales east and north; small heights are stretched by a round factor.
    stretch = 1;
    longest = max(diff(east), diff(north));
    if diff(up) < 0.4 * longest
        wanted = 0.45 * longest / diff(up);
        steps = [1 2 3 5 10] * 10 ^ floor(log10(wanted));
        stretch = max(1, max(steps(steps <= wanted * 1.0001)));
    end
    heightWords = '高度 (m)';
    if stretch > 1
        heightWords = sprintf('高度 (m)，放大 %g 倍', stretch);
    end
    set(axesHandle, 'XLim', east, 'YLim', north, 'ZLim', up, 'DataAspectRatio', [stretch stretch 1], ...
        'Color', look.pane);
    view(axesHandle, 32, 27);
    label(axesHandle, look, '东向距离 (m)', '北向距离 (m)', heightWords);
    key(axesHandle, look, [behind marks], names, [0.96 - 0.13 * numel(names) 0.93 0.13 * numel(names) 0.04]);
end

function drawMessage(look, name, lines)
    figureHandle = newFigure(look, name, '', [750 420]);
    page = axes('Parent', figureHandle, 'Position', [0 0 1 0.9], 'Visible', 'off', 'XLim', [0 1], 'YLim', [0 1]);
    for i = 1:numel(lines)
        text(0.5, 0.62 - 0.11 * i, lines{i}, 'Parent', page, 'FontName', look.font, 'FontSize', 13, 'Color', look.ink, ...
             'HorizontalAlignment', 'center', 'Interpreter', 'none');
    end
end
