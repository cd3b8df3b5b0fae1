-- Every screenshot exists in the day and in the night theme. A chapter names the one of the day; the page shows the one
-- that goes with the reader's own colour scheme.

function Image(image)
    local name = image.src:match("^%.%./screens/day%-(.+)$")
    if not name then
        return nil
    end
    local night = image:clone()
    night.src = "../screens/night-" .. name
    image.classes:insert("day")
    night.classes:insert("night")
    return { image, night }
end
